#pragma once

// mingw's taskschd.h lacks this one interface of the Task Scheduler. Slots and id are Windows' own.

#include <taskschd.h>

struct ITaskNamedValueCollection;

inline constexpr IID IID_IEventTrigger = {
    0xD45B0167, 0x9653, 0x4EEF, {0xB9, 0x4F, 0x07, 0x32, 0xCA, 0x7A, 0xF2, 0x51}};

// The base's destructor takes no slot and is not virtual: an object ends with its last release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
struct IEventTrigger : ITrigger {
  virtual HRESULT STDMETHODCALLTYPE get_Subscription(BSTR* query) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Subscription(BSTR query) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Delay(BSTR* delay) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Delay(BSTR delay) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ValueQueries(ITaskNamedValueCollection** queries) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ValueQueries(ITaskNamedValueCollection* queries) = 0;

 protected:
  ~IEventTrigger() = default;
};
#pragma GCC diagnostic pop
