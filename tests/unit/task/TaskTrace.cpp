#include "tests/unit/task/TaskTrace.h"

#include "VUSL/Support/LogLevel.h"
#include "VUSL/Support/LogSink.h"
#include "platform/host/Call.h"

namespace {

bool isTraced(const std::string& name) {
  return name.starts_with("Co") || name.find("::") != std::string::npos ||
         name == "SysAllocString" || name == "SysFreeString";
}

std::string textOf(const host::JournalEntry& entry) {
  const std::string name = entry.name;
  if (name == "IUnknown::Release") return "Release " + entry.args;
  if (name == "SysAllocString") return name + " " + entry.args;
  // Its arguments are what is asked, and for what.
  const std::size_t second = entry.args.rfind(", ");
  if (name == "IUnknown::QueryInterface") return name + " " + entry.args.substr(second + 2);
  return name;
}

}  // namespace

TaskTrace::TaskTrace() {
  LogSink::process().attach(this, LogSink::kOutletChannel);
}

TaskTrace::~TaskTrace() {
  LogSink::process().detach(this);
}

std::vector<std::string> TaskTrace::texts() const {
  std::vector<std::string> all;
  auto line = lines.begin();
  std::size_t calls = 0;
  const auto takeLines = [&] {
    for (; line != lines.end() && line->first <= calls; ++line) all.push_back(line->second);
  };
  for (const host::JournalEntry& entry : host::Journal::instance().entries()) {
    takeLines();
    if (isTraced(entry.name)) all.push_back(textOf(entry));
    ++calls;
  }
  takeLines();
  return all;
}

void TaskTrace::Log(const vusl::string_t&, const vusl::string_t&, const vusl::string_t& message,
                    int level) {
  lines.emplace_back(host::Journal::instance().entries().size(),
                     vusl::Narrow(LogLevel::Tag(level) + message));
}
