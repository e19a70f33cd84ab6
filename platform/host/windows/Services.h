#pragma once

#include "platform/host/windows/Types.h"

// The service control protocol.

inline constexpr DWORD SERVICE_WIN32_OWN_PROCESS = 0x10;
inline constexpr DWORD SERVICE_STOPPED = 1;
inline constexpr DWORD SERVICE_START_PENDING = 2;
inline constexpr DWORD SERVICE_STOP_PENDING = 3;
inline constexpr DWORD SERVICE_RUNNING = 4;
inline constexpr DWORD SERVICE_ACCEPT_STOP = 1;
inline constexpr DWORD SERVICE_CONTROL_STOP = 1;
inline constexpr DWORD SERVICE_CONTROL_PAUSE = 2;
inline constexpr DWORD SERVICE_CONTROL_INTERROGATE = 4;
inline constexpr DWORD SERVICE_CONTROL_SHUTDOWN = 5;

struct SERVICE_STATUS {
  DWORD dwServiceType;
  DWORD dwCurrentState;
  DWORD dwControlsAccepted;
  DWORD dwWin32ExitCode;
  DWORD dwServiceSpecificExitCode;
  DWORD dwCheckPoint;
  DWORD dwWaitHint;
};
using LPSERVICE_STATUS = SERVICE_STATUS*;

struct SERVICE_STATUS_HANDLE__;
using SERVICE_STATUS_HANDLE = SERVICE_STATUS_HANDLE__*;

using LPSERVICE_MAIN_FUNCTIONW = void (*)(DWORD argumentCount, LPWSTR* arguments);
using LPHANDLER_FUNCTION = void (*)(DWORD control);

struct SERVICE_TABLE_ENTRYW {
  LPWSTR lpServiceName;
  LPSERVICE_MAIN_FUNCTIONW lpServiceProc;
};

BOOL StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table);
SERVICE_STATUS_HANDLE RegisterServiceCtrlHandlerW(LPCWSTR name, LPHANDLER_FUNCTION handler);
BOOL SetServiceStatus(SERVICE_STATUS_HANDLE handle, LPSERVICE_STATUS status);
