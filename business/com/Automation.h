// The system's automation headers, in the order that they need.
#pragma once

#include <windows.h>
// windows.h comes first; the others build on it.
#include <dispex.h>
#include <oaidl.h>
#include <ocidl.h>
#include <ole2.h>
#include <oleauto.h>
#include <olectl.h>
#include <unknwn.h>
