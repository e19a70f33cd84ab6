#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tests/contract/Contract.h"

// COM and the Task Scheduler for the tests of their calls.
namespace contract {

// A string of the platform's for the length of a statement.
class Text {
 public:
  explicit Text(const std::wstring& text) : text_(SysAllocString(text.c_str())) {}
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  operator BSTR() const { return text_; }

 private:
  BSTR text_;
};

struct Releaser {
  void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Reference = std::unique_ptr<Interface, Releaser>;

// A result as it is written in documents.
constexpr std::uint32_t code(HRESULT result) {
  return static_cast<std::uint32_t>(result);
}

// COM, begun and ended with the object.
class Com {
 public:
  Com() { EXPECT_EQ(code(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), 0U); }
  ~Com() { CoUninitialize(); }
  Com(const Com&) = delete;
  Com& operator=(const Com&) = delete;
};

// Whose Task Scheduler it is under Wine: Wine's own, or, where that one lacks what a test needs,
// that of platform/wine.
enum class By { kWine, kStandIn };

// Puts the Task Scheduler of platform/wine into the place of Wine's own, for this process and as
// long as the object lives.
class StandInClass {
 public:
  StandInClass();
  ~StandInClass();
  StandInClass(const StandInClass&) = delete;
  StandInClass& operator=(const StandInClass&) = delete;

 private:
  DWORD number_ = 0;
};

inline VARIANT empty() {
  VARIANT variant;
  VariantInit(&variant);
  return variant;
}

inline VARIANT textVariant(BSTR text) {
  VARIANT variant = empty();
  variant.vt = VT_BSTR;
  variant.bstrVal = text;
  return variant;
}

// The text of a string that a call gave, which is freed; "(null)" for none.
inline std::wstring taken(BSTR text) {
  const std::wstring copy = text == nullptr ? L"(null)" : text;
  SysFreeString(text);
  return copy;
}

// What a getter of an object gives, in a reference.
template <class Object, class Part>
Reference<Part> part(Object& object, HRESULT (Object::*get)(Part**)) {
  Part* found = nullptr;
  EXPECT_EQ(code((object.*get)(&found)), 0U);
  return Reference<Part>(found);
}

template <class Interface>
Reference<Interface> face(IUnknown& object, REFIID iid) {
  void* found = nullptr;
  EXPECT_EQ(code(object.QueryInterface(iid, &found)), 0U);
  return Reference<Interface>(static_cast<Interface*>(found));
}

// Connected, with its root folder.
class Scheduler {
 public:
  explicit Scheduler(By whom = By::kWine);

  static Reference<ITaskService> newService();
  Reference<ITaskDefinition> newTask() const;
  // One that lacks nothing.
  Reference<ITaskDefinition> wholeTask(const std::wstring& program = L"C:\\x.exe") const;
  static Reference<IExecAction> addProgram(ITaskDefinition& task, const std::wstring& path);
  static Reference<IEventTrigger> addEventTrigger(ITaskDefinition& task);
  HRESULT put(const std::wstring& name, ITaskDefinition& task, LONG flags) const;
  Reference<IRegisteredTask> find(const std::wstring& name) const;
  HRESULT drop(const std::wstring& name) const;

 private:
  Com com_;
  std::optional<StandInClass> class_;

 public:
  Reference<ITaskService> service;
  Reference<ITaskFolder> root;
};

}  // namespace contract
