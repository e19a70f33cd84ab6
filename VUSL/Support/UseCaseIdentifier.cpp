#include "VUSL/Support/UseCaseIdentifier.h"

#include <new>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/SharedTexts.h"

namespace {

constexpr const char* kUseCase = "[TPM] ";

}  // namespace

UseCaseIdentifier& UseCaseIdentifier::getInstance() {
  // Never destroyed: static objects log while they are destroyed.
  static UseCaseIdentifier* const instance = new (std::nothrow) UseCaseIdentifier(kUseCase);
  if (instance == nullptr) {
    throw Exception(kGetInstance) << kNullInstance << TypeName<UseCaseIdentifier>::text;
  }
  return *instance;
}
