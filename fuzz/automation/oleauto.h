// Of the double of the automation types: everything is in AutomationTypes.h.
#pragma once

#include <AutomationTypes.h>
