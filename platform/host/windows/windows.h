#pragma once

// What the product sees of the model: Windows' own names with Windows' own shapes. Sizes count in
// the platform's wchar_t, which has four bytes here and two on Windows.

#include "platform/host/windows/Types.h"

#include "platform/host/windows/Com.h"
#include "platform/host/windows/Crt.h"
#include "platform/host/windows/Files.h"
#include "platform/host/windows/Modules.h"
#include "platform/host/windows/Objects.h"
#include "platform/host/windows/Registry.h"
#include "platform/host/windows/Security.h"
#include "platform/host/windows/Services.h"
#include "platform/host/windows/System.h"
#include "platform/host/windows/TaskScheduler.h"
#include "platform/host/windows/Trace.h"
