#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "VUSL/Support/Thread.h"
#include "client/ItalsClientCaller.h"
#include "client/TalsClientLoaderBase.h"

// Runs commands of the client library, on the caller's thread or on a thread of its own, and logs
// what the library answers.
//
// The enrollment loop owns the object, runs the commands 1 and 2 through executeSync and nothing
// else. The asynchronous road, the key type and command 3 are dormant in this service. `commands`
// and `keyType` have no lock: one command list may be in flight at a time.
class talsClientCaller : public vusl::Thread, public ItalsClientCaller {
 public:
  // `threadName`: the thread's name; the enrollment loop passes it empty.
  explicit talsClientCaller(const std::string& threadName);

  // Waits for the thread without limit if its body is running at this moment, then unloads the
  // client libraries. Lets no exception out: what the thread threw ends here.
  ~talsClientCaller() override;

  // The thread's body: runs every entry of `commands` in order and drops the results.
  void Run() override;

  // Replaces the command list by `command` and starts the thread over it. Returns at once; the
  // result of the command is not reported.
  //
  // Throws Exception when the thread cannot be started.
  virtual void executeAsync(std::uint32_t command);

  // Starts the thread over the command list.
  //
  // Throws Exception when the thread cannot be started.
  virtual void executeScheduled();

  // The latest step of a transaction, as the library's progress callback reported it.
  virtual std::uint32_t currentProgressState();

  talsStatus executeSync(std::uint32_t command, std::uint32_t reserved) override;
  void setKeyType(std::uint32_t type) override;

  // The loaded client stack; null until the owner assigns it. An assignment destroys any loader
  // held before. A command must not run while it is null.
  std::unique_ptr<TalsClientLoaderBase> loader;

 protected:
  // The command codes that the thread runs.
  std::vector<std::uint32_t> commands;

  // The input of command 3.
  std::uint32_t keyType = 0xFFFFFFFF;

  using Components = std::vector<std::uint32_t>;

  // Initialises the client library for `components`: two or more are both at once, a single one is
  // 1 for the first or 2 for the second. Returns the library's status, which is logged;
  // STATUS_ERROR for any other single one, which is not.
  talsStatus runInit(std::unique_ptr<Components> components);

 private:
  talsStatus dispatchCommand(std::uint32_t command);

  // Runs the transaction that recertifies the key of this type and logs its begin and its status.
  //
  // Returns the library's status; STATUS_ERROR when the request cannot be copied.
  // Throws Exception "talsCaidProtect failed." when the library gives out no handle.
  talsStatus runRecertification(std::uint32_t type);
  talsStatus transactRecertification(std::uint32_t type) const;
};
