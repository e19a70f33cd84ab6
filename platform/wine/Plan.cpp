#include "platform/wine/Plan.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "platform/win32.h"

namespace wine {
namespace {

std::string unescaped(const std::string& field) {
  std::string text;
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] != '\\' || i + 1 == field.size()) {
      text += field[i];
      continue;
    }
    const char code = field[++i];
    text += code == 'n' ? '\n' : code == 'r' ? '\r' : code == 't' ? '\t' : code;
  }
  return text;
}

std::vector<std::string> fieldsOf(const std::string& line) {
  std::vector<std::string> fields;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = line.find('\t', begin);
    fields.push_back(unescaped(line.substr(begin, end - begin)));
    if (end == std::string::npos) {
      return fields;
    }
    begin = end + 1;
  }
}

// Takes one line; false if it makes no sense.
bool take(Plan& plan, const std::vector<std::string>& fields) {
  const std::string& key = fields[0];
  if (key == "step" && fields.size() == 7) {
    plan.steps.push_back({fields[1], fields[2], static_cast<unsigned>(std::stoul(fields[3])),
                          fields[4], toWide(fields[5]), fields[6]});
    return true;
  }
  if (fields.size() != 2) {
    return false;
  }
  const std::string& value = fields[1];
  if (key == "program") {
    plan.program = toWide(value);
  } else if (key == "command line") {
    plan.commandLine = toWide(value);
  } else if (key == "started by") {
    plan.startedByManager = value == "service manager";
  } else if (key == "listener") {
    plan.listener = value == "yes";
  } else if (key == "limit") {
    plan.limitMs = std::stoull(value);
  } else if (key == "event") {
    plan.events.push_back(toWide(value));
  } else if (key == "namespace") {
    plan.namespaces.push_back(toWide(value));
  } else {
    return false;
  }
  return true;
}

}  // namespace

Plan readPlan(const std::wstring& file) {
  std::ifstream in{std::filesystem::path(file), std::ios::binary};
  if (!in) {
    throw std::runtime_error("the plan cannot be read");
  }
  Plan plan;
  std::string line;
  while (std::getline(in, line)) {
    if (!take(plan, fieldsOf(line))) {
      throw std::runtime_error("a line of the plan makes no sense: " + line);
    }
  }
  return plan;
}

std::wstring toWide(const std::string& utf8) {
  const int size = static_cast<int>(utf8.size());
  std::wstring text(
      static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0)),
      L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.data(), static_cast<int>(text.size()));
  return text;
}

std::string toUtf8(const std::wstring& text) {
  const int size = static_cast<int>(text.size());
  const int needed =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(), needed, nullptr, nullptr);
  return utf8;
}

}  // namespace wine
