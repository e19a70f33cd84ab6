#pragma once

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "platform/host/ComObject.h"
#include "platform/host/TaskDocument.h"
#include "platform/host/Text.h"
#include "platform/host/windows/TaskScheduler.h"

namespace host {

// An object that shows a part of a task's document: its properties are elements. A setter takes
// whatever it is given; the empty text removes the element.
template <class Interface, const IID& kIid>
class TaskFace : public ComBase<Interface, kIid> {
 public:
  TaskFace(const char* kind, std::shared_ptr<TaskNode> node)
      : ComBase<Interface, kIid>(kind), node_(std::move(node)) {}

  const std::shared_ptr<TaskNode>& node() const { return node_; }

 protected:
  // `name` is the method's, `path` leads from the node to the element.
  HRESULT getText(const char* name, const char* path, BSTR* text) {
    return get(name, text, BSTR{}, [&] { return stringOf(node_->value(path), name); });
  }
  HRESULT putText(const char* name, const char* path, BSTR text) {
    return put(name, text, [&](const std::string& value) {
      if (value.empty()) {
        node_->removeValue(path);
      } else {
        node_->setValue(path, value);
      }
    });
  }

  HRESULT getAttribute(const char* name, const char* attribute, BSTR* text) {
    return get(name, text, BSTR{}, [&] { return stringOf(node_->attribute(attribute), name); });
  }
  HRESULT putAttribute(const char* name, const char* attribute, BSTR text) {
    return put(name, text,
               [&](const std::string& value) { node_->setAttribute(attribute, value); });
  }

  HRESULT getFlag(const char* name, const char* path, bool byDefault, VARIANT_BOOL* flag) {
    return get(name, flag, VARIANT_FALSE, [&] {
      return booleanValue(node_->value(path), byDefault) ? VARIANT_TRUE : VARIANT_FALSE;
    });
  }
  HRESULT putFlag(const char* name, const char* path, VARIANT_BOOL flag) {
    MethodCall call(*this, name, flag);
    if (call.isRefused()) {
      return call.refuses();
    }
    const Scheduler::Guard guard;
    node_->setValue(path, booleanText(flag != VARIANT_FALSE));
    return call.answers(S_OK);
  }

  HRESULT getNumber(const char* name, const char* path, INT byDefault, INT* number) {
    return get(name, number, 0, [&] {
      const auto text = node_->value(path);
      return text ? static_cast<INT>(std::strtol(text->c_str(), nullptr, 10)) : byDefault;
    });
  }

  // The head and the tail of every getter; `read` gives the value.
  template <class Value, class Read>
  HRESULT get(const char* name, Value* value, Value none, const Read& read) {
    MethodCall call(*this, name);
    if (value == nullptr) {
      return call.answers(E_POINTER);
    }
    *value = none;
    if (call.isRefused()) {
      return call.refuses();
    }
    const Scheduler::Guard guard;
    *value = read();
    return call.answers(S_OK);
  }

  // Gives one of the parts of which there is one each; it is made when it is first asked for, and
  // its maker holds it.
  template <class Part, class PartInterface>
  HRESULT givePart(const char* name, Held<Part>& part, PartInterface** result,
                   const std::shared_ptr<TaskNode>& task) {
    return get(name, result, static_cast<PartInterface*>(nullptr), [&]() -> PartInterface* {
      if (part.get() == nullptr) {
        part.set(ComObject::keep(std::make_unique<Part>(task)));
      }
      part.get()->addReference(name);
      return part.get();
    });
  }

  // The head and the tail of a setter of a text; `write` takes it in UTF-8.
  template <class Write>
  HRESULT put(const char* name, BSTR text, const Write& write) {
    std::wstring value;
    const bool isString = readString(text, name, value);
    MethodCall call(*this, name, value.c_str());
    if (call.isRefused()) {
      return call.refuses();
    }
    if (!isString) {
      return call.answers(E_INVALIDARG);
    }
    const Scheduler::Guard guard;
    write(toUtf8(value));
    return call.answers(S_OK);
  }

 private:
  static BSTR stringOf(const std::optional<std::string>& text, const char* maker) {
    return text ? makeString(toWide(*text), maker) : nullptr;
  }

  std::shared_ptr<TaskNode> node_;
};

}  // namespace host
