#pragma once

#include "VUSL/Support/OutletBase.h"
#include "VUSL/Support/TraceProvider.h"

// Turns messages into trace events named "Log", with the level and the message as fields. It takes
// no lock: each message is one call. Timestamp and tag are not used, since trace events have their
// own.
class EtwLogOutlet : public OutletBase<EtwLogOutlet> {
 public:
  EtwLogOutlet() = default;

  // Unregisters the provider, if there is one.
  ~EtwLogOutlet() override;

  // Registers `provider`, which must outlive this outlet, and takes it for all events from now on.
  // A provider that is registered already ends the process. Throws a pointer to an `Exception` made
  // with new if the platform refuses: only a clause for everything catches it.
  void registerProvider(TraceProvider* provider);

  bool wantsPrefix() override { return false; }
  void reopen() override {}

  // Writes the event if a session wants it. `registerProvider` must have been called: without a
  // provider this faults.
  void Log(const vusl::string_t& timestamp, const vusl::string_t& tag,
           const vusl::string_t& message, int itemLevel) override;

  // Not for use: throws a `std::exception`.
  void Dump(const vusl::string_t& message) override;

 private:
  TraceProvider* provider = nullptr;
};
