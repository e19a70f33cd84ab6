#include "task/ComCalls.h"

#include "VUSL/Support/LogItem.h"

void LogResult(const char* text, HRESULT result) {
  LogItem().debug() << text << LogBase::kHexadecimal << static_cast<DWORD>(result);
}
