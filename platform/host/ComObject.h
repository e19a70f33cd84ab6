#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/host/StatusCall.h"
#include "platform/host/windows/Com.h"

namespace host {

// The answer of an object that is used after its last release.
inline constexpr HRESULT kObjectGone = static_cast<HRESULT>(0x80010108);

// What stands behind an interface pointer of the program's. The program's references and those that
// the platform's own objects have to it are counted apart: the object draws its last breath when
// there is none of either. It stays in memory after that, so that a later use is noticed, answered
// with an error and noted in the ledger.
//
// In the ledger the program's references to one object are one entry of the kind "reference".
class ComObject {
 public:
  // `kind`: the interface's name.
  explicit ComObject(const char* kind) : kind_(kind) {}
  virtual ~ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  const char* kind() const { return kind_; }
  // True while anybody has a reference; otherwise notes that `call` used the object.
  bool isAlive(const char* call) const;

  // References of other objects.
  void hold() { ++holders_; }
  void letGo();
  // References of the program's. `maker` names the call that gave it.
  ULONG addReference(const char* maker);
  ULONG release();

  // Takes a new object into the process's keeping, from which nothing is ever removed.
  template <class Object>
  static Object* keep(std::unique_ptr<Object> object) {
    Object* const plain = object.get();
    keepForEver(std::move(object));
    return plain;
  }

 protected:
  // The object's end: it lets go of what it holds.
  virtual void lastBreath() {}

 private:
  static void keepForEver(std::unique_ptr<ComObject> object);
  void endIfUnused();

  const char* kind_;
  ULONG references_ = 0;
  ULONG holders_ = 0;
};

// Holds a reference to another object of the platform's for as long as its owner lives.
template <class Object>
class Held {
 public:
  Held() = default;
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  Object* get() const { return object_; }
  void set(Object* object) {
    if (object != nullptr) {
      object->hold();
    }
    if (object_ != nullptr) {
      object_->letGo();
    }
    object_ = object;
  }

 private:
  Object* object_ = nullptr;
};

std::string interfaceName(REFIID iid);

// A call of the journal that answers with an HRESULT.
class ComCall : public StatusCall {
 public:
  using StatusCall::StatusCall;

  // Negative if the call must answer with this at once.
  HRESULT verdict() const { return verdict_; }
  bool isRefused() const { return FAILED(verdict_); }

  // Answers with a result, which the journal keeps in hexadecimal. A call that is told to answer
  // with a number that is no failure, or to fail when it is done, does its work and answers with
  // that in place of a success.
  HRESULT answers(HRESULT result);
  HRESULT refuses() { return answers(verdict_); }

 protected:
  HRESULT verdict_ = faulted() ? static_cast<HRESULT>(fault()) : S_OK;
};

// The head of each method, which knows whether it can do its work at all.
class MethodCall : public ComCall {
 public:
  template <class... Arguments>
  MethodCall(const ComObject& object, const char* name, const Arguments&... arguments)
      : ComCall(name, arguments...) {
    // A call that is told to fail fails as it is told; that the object was gone is noted by then.
    const bool isAlive = object.isAlive(name);
    verdict_ = FAILED(verdict_) || isAlive ? verdict_ : kObjectGone;
  }
};

// What all objects have in common. `kIid` is the interface's own.
template <class Interface, const IID& kIid>
class ComBase : public Interface, public ComObject {
 public:
  using ComObject::ComObject;

  HRESULT QueryInterface(REFIID iid, void** object) override {
    MethodCall call(*this, "IUnknown::QueryInterface", kind(), interfaceName(iid).c_str());
    if (object == nullptr) {
      return call.answers(E_POINTER);
    }
    *object = nullptr;
    if (call.isRefused()) {
      return call.refuses();
    }
    const Scheduler::Guard guard;
    *object = face(iid);
    return call.answers(*object != nullptr ? S_OK : E_NOINTERFACE);
  }
  ULONG AddRef() override {
    Call call("IUnknown::AddRef", kind());
    const Scheduler::Guard guard;
    return call.returns(isAlive("IUnknown::AddRef") ? addReference("IUnknown::AddRef") : ULONG{0});
  }
  ULONG Release() override {
    Call call("IUnknown::Release", kind());
    const Scheduler::Guard guard;
    return call.returns(release());
  }

  // Nobody calls the platform's scheduler by names.
  HRESULT GetTypeInfoCount(UINT* /*count*/) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** /*info*/) override {
    return E_NOTIMPL;
  }
  HRESULT GetIDsOfNames(REFIID /*iid*/, LPOLESTR* /*names*/, UINT /*count*/, LCID /*locale*/,
                        DISPID* /*ids*/) override {
    return E_NOTIMPL;
  }
  HRESULT Invoke(DISPID /*member*/, REFIID /*iid*/, LCID /*locale*/, WORD /*flags*/,
                 DISPPARAMS* /*parameters*/, VARIANT* /*result*/, EXCEPINFO* /*exception*/,
                 UINT* /*badArgument*/) override {
    return E_NOTIMPL;
  }

 protected:
  // The pointer that QueryInterface gives, with a reference; null if there is no such interface.
  virtual void* face(REFIID iid) {
    if (iid != kIid && iid != IID_IUnknown && iid != IID_IDispatch) {
      return nullptr;
    }
    addReference("IUnknown::QueryInterface");
    return static_cast<Interface*>(this);
  }

  // A slot that the model has nothing behind.
  HRESULT notBuilt(const char* name) {
    MethodCall call(*this, name);
    return call.answers(call.isRefused() ? call.verdict() : E_NOTIMPL);
  }
};

// --- strings and variants -----------------------------------------------------------------------

// A string for the program, which frees it.
BSTR makeString(const std::wstring& text, const char* maker);

// The text of a string that the program passed; nothing, and a note in the ledger, if it is no
// string that is still allocated. Null is the empty text.
bool readString(BSTR text, const char* call, std::wstring& result);

}  // namespace host
