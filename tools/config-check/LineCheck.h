#pragma once

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "VUSL/Support/ConfigLine.h"
#include "tools/config-check/KnownSettings.h"

namespace config_check {

// Says for each line of a file what the service sees in it, and counts what is wrong.
class LineCheck {
 public:
  // `readers`: who reads the file.
  LineCheck(std::ostream& out, const std::vector<Reader>& readers) : out_(out), readers_(readers) {}

  // Explains all lines of the file's text.
  void explain(const std::string& content);

  std::size_t warnings() const { return warnings_; }
  // Each makes the service call the file corrupted.
  std::size_t errors() const { return errors_; }
  // The line of a key's first setting, from 1; 0 if it has none.
  std::size_t lineOf(const std::string& key) const;

 private:
  void explainLine(std::string_view text);
  void explainSetting(const ConfigLine& line);
  void lookAtQuotes(const ConfigLine& line);
  void lookAtKey(const ConfigLine& line);
  // How a file begins that was saved in a way that the service does not know.
  void lookAtBytes(std::string_view line);
  void say(const std::string& text);
  void warn(const std::string& text);
  void refuse(const std::string& text);
  void tell(const char* kind, const std::string& text);

  std::ostream& out_;
  const std::vector<Reader> readers_;
  int width_ = 0;  // of the line numbers
  std::size_t number_ = 0;
  std::size_t warnings_ = 0;
  std::size_t errors_ = 0;
  std::map<std::string, std::size_t, std::less<>> firstLines_;
};

}  // namespace config_check
