#pragma once

// The published interfaces of COM and DirectShow that this folder speaks, in the order in which their headers
// need each other.

#include <windows.h>

#include <objbase.h>

#include <mmsystem.h>

#include <mmreg.h>

#include <ocidl.h>
#include <olectl.h>

#include <strmif.h>

#include <control.h>
#include <uuids.h>
#include <vfwmsgs.h>
