#pragma once

#include <string>

#include "platform/win32.h"
#include "task/PlatformString.h"

// The calls that every step of the task makes in the same way.

// Hands `text` to the property that `put` sets, as a platform string that is allocated for the call
// and freed after it. Returns the call's result; throws ComError if the text cannot be allocated.
template <class Object, class Put>
HRESULT PutText(Object* object, Put put, const std::wstring& text) {
  const PlatformString value(text);
  return (object->*put)(value.Get());
}

// Asks `object` for its face `iid`, which is of the type `Interface`; null if it has none.
template <class Interface>
HRESULT QueryFor(IUnknown* object, REFIID iid, Interface** face) {
  void* found = nullptr;
  const HRESULT result = object->QueryInterface(iid, &found);
  *face = static_cast<Interface*>(found);
  return result;
}

// Writes the DEBUG line `text`, followed by `result` in lower-case hexadecimal without a prefix.
void LogResult(const char* text, HRESULT result);
