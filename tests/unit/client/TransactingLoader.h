#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "client/TalsCallShapes.h"
#include "client/TalsClientLoaderBase.h"

// A client stack of the test's own that carries out recertifications: the three entries of the
// transaction note what they were handed and answer what they are told. One at a time.
class TransactingLoader : public TalsClientLoaderBase {
 public:
  TransactingLoader() {
    calls.clear();
    protectAnswers = [] { return STATUS_OK; };
    answers = [](TalsProgressCallback) { return STATUS_OK; };
    destroyAnswers = [] { return STATUS_OK; };
    given = &theHandle;
    entries.talsCaidProtect = reinterpret_cast<TalsEntry>(&protect);
    entries.talsUsePermit = reinterpret_cast<TalsEntry>(&usePermit);
    entries.talsCaidDestroy = reinterpret_cast<TalsEntry>(&destroy);
  }

  // Outlive the loader, as the caller destroys it.
  static inline std::vector<std::string> calls;
  static inline std::function<talsStatus()> protectAnswers;
  static inline std::function<talsStatus(TalsProgressCallback)> answers;
  static inline std::function<talsStatus()> destroyAnswers;
  // What talsCaidProtect gives out, whatever it answers.
  static inline void* given = nullptr;

 private:
  static std::string shown(const void* handle) {
    if (handle == nullptr) return "null";
    return handle == &theHandle ? "the handle" : "something else";
  }

  static talsStatus protect(TalsCaidHandle* caid) {
    calls.push_back("talsCaidProtect(" + shown(*caid) + ")");
    *caid = given;
    return protectAnswers();
  }

  static talsStatus usePermit(TalsCaidHandle caid, const void* request, std::uint32_t size,
                              TalsProgressCallback progress) {
    std::uint32_t keyType = 0;
    if (size == sizeof keyType) std::memcpy(&keyType, request, sizeof keyType);
    calls.push_back("talsUsePermit(" + shown(caid) + ", " + std::to_string(size) +
                    " bytes, key type " + std::to_string(keyType) + ")");
    return answers(progress);
  }

  static talsStatus destroy(TalsCaidHandle caid) {
    calls.push_back("talsCaidDestroy(" + shown(caid) + ")");
    return destroyAnswers();
  }

  static inline int theHandle = 0;
};
