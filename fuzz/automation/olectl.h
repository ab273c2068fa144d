// Of the double of the automation types: everything is in windows.h.
#pragma once

#include <windows.h>
