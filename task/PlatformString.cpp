#include "task/PlatformString.h"

#include <memory>
#include <new>
#include <utility>

#include "task/ComError.h"

PlatformString::PlatformString(const std::wstring& text) {
  std::unique_ptr<Shared> shared(new (std::nothrow) Shared{nullptr, 1});
  if (shared == nullptr) throw ComError(E_OUTOFMEMORY);
  shared->text = SysAllocString(text.c_str());
  if (shared->text == nullptr) throw ComError(E_OUTOFMEMORY);
  m_shared = shared.release();
}

PlatformString::PlatformString(const PlatformString& other) : m_shared(other.m_shared) {
  ++m_shared->references;
}

PlatformString& PlatformString::operator=(const PlatformString& other) {
  PlatformString copy(other);
  std::swap(m_shared, copy.m_shared);
  return *this;
}

PlatformString::~PlatformString() {
  release();
}

VARIANT PlatformString::AsVariant() const {
  VARIANT variant = EmptyVariant();
  variant.vt = VT_BSTR;
  variant.bstrVal = Get();
  return variant;
}

void PlatformString::release() {
  if (--m_shared->references > 0) return;
  SysFreeString(m_shared->text);
  delete m_shared;
}

VARIANT EmptyVariant() {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the platform's own call fills it
  VARIANT variant;
  VariantInit(&variant);
  return variant;
}
