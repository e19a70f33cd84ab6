// Boundary descriptors and private namespaces.

#include <algorithm>
#include <cstring>

#include "platform/host/Call.h"
#include "platform/host/Handles.h"
#include "platform/host/Machine.h"

namespace host {
namespace {

class BoundaryObject final : public KernelObject {
 public:
  const char* kind() const override { return "boundary"; }
  bool closedByCloseHandle() const override { return false; }

  std::vector<std::string> sids;
};

// The bytes of a SID; empty if they are none.
std::string sidBytes(const void* sid) {
  constexpr std::size_t kHead = 8;
  constexpr unsigned char kRevision = 1;
  constexpr unsigned char kMostSubAuthorities = 15;
  const auto* bytes = static_cast<const unsigned char*>(sid);
  if (sid == nullptr || bytes[0] != kRevision || bytes[1] > kMostSubAuthorities) {
    return {};
  }
  return std::string(static_cast<const char*>(sid), kHead + bytes[1] * sizeof(DWORD));
}

}  // namespace
}  // namespace host

using host::Call;
using host::HandleTable;

HANDLE CreateBoundaryDescriptorW(LPCWSTR name, ULONG flags) {
  Call call("CreateBoundaryDescriptorW", name, flags);
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  if (name == nullptr || *name == L'\0') {
    return call.fails<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const host::Scheduler::Guard guard;
  auto boundary = std::make_shared<host::BoundaryObject>();
  boundary->name = name;
  return call.returns(HandleTable::instance().add(boundary, "CreateBoundaryDescriptorW"));
}

BOOL AddSIDToBoundaryDescriptor(HANDLE* boundary, PVOID sid) {
  Call call("AddSIDToBoundaryDescriptor", boundary == nullptr ? nullptr : *boundary);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (boundary == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  const host::Scheduler::Guard guard;
  HandleTable& handles = HandleTable::instance();
  const auto object = handles.find<host::BoundaryObject>(*boundary, "AddSIDToBoundaryDescriptor");
  if (object == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  std::string bytes = host::sidBytes(sid);
  if (bytes.empty()) {
    return call.fails(ERROR_INVALID_SID, FALSE);
  }
  object->sids.push_back(std::move(bytes));
  // The platform may move a descriptor that grows. Here it always does, so that a caller who goes
  // on with the old handle is noticed.
  handles.close(*boundary, "AddSIDToBoundaryDescriptor");
  *boundary = handles.add(object, "CreateBoundaryDescriptorW");
  return call.returns(TRUE);
}

HANDLE CreatePrivateNamespaceW(LPSECURITY_ATTRIBUTES attributes, LPVOID boundary, LPCWSTR alias) {
  Call call("CreatePrivateNamespaceW", attributes, boundary, alias);
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  if (alias == nullptr || *alias == L'\0') {
    return call.fails<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const host::Scheduler::Guard guard;
  const auto object =
      HandleTable::instance().find<host::BoundaryObject>(boundary, "CreatePrivateNamespaceW");
  if (object == nullptr) {
    return call.fails<HANDLE>(ERROR_INVALID_HANDLE, nullptr);
  }
  host::Machine& machine = host::machine();
  const auto isInside = [&](const std::string& sid) { return machine.token.isInside(sid); };
  if (!std::all_of(object->sids.begin(), object->sids.end(), isInside)) {
    return call.fails<HANDLE>(ERROR_ACCESS_DENIED, nullptr);
  }
  if (machine.objects.namespaceExists(alias)) {
    return call.fails<HANDLE>(ERROR_ALREADY_EXISTS, nullptr);
  }
  auto made = std::make_shared<host::NamespaceObject>();
  machine.objects.addNamespace(alias, made);
  return call.returns(HandleTable::instance().add(made, "CreatePrivateNamespaceW"));
}

BOOLEAN ClosePrivateNamespace(HANDLE handle, ULONG flags) {
  Call call("ClosePrivateNamespace", handle, flags);
  constexpr BOOLEAN kFailed = 0;
  constexpr BOOLEAN kDone = 1;
  if (call.faulted()) {
    return call.returns(kFailed);
  }
  const host::Scheduler::Guard guard;
  const auto object =
      HandleTable::instance().find<host::NamespaceObject>(handle, "ClosePrivateNamespace");
  if (object == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, kFailed);
  }
  if ((flags & PRIVATE_NAMESPACE_FLAG_DESTROY) != 0) {
    host::machine().objects.removeNamespace(object);
  }
  HandleTable::instance().close(handle, "ClosePrivateNamespace");
  return call.returns(kDone);
}
