#include "VUSL/Support/ConfigMemory.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <source_location>
#include <string>
#include <system_error>

#include "VUSL/Support/Exception.h"

namespace {

// Where the default of `place` is written out is the place that the exception names.
Exception notSupported(std::source_location place = std::source_location::current()) {
  Exception exception("VUSL\\Support\\ConfigMemory:" + std::to_string(place.line()));
  exception << "Not supported.";
  return exception;
}

// Null if the key is absent.
const std::string* find(const std::map<std::string, std::string>& settings,
                        const std::string& key) {
  const auto found = settings.find(key);
  return found == settings.end() ? nullptr : &found->second;
}

bool isSpaceToAStream(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

template <typename T>
bool answerDefault(T* value, const T* defaultValue) {
  if (defaultValue == nullptr) {
    return false;
  }
  *value = *defaultValue;
  return true;
}

template <typename T>
bool isAllowed(const T& value, const std::list<T>* allowed) {
  return allowed == nullptr || std::find(allowed->begin(), allowed->end(), value) != allowed->end();
}

// The outcome is that of extracting one number from a stream of the text: white space ahead is
// skipped, one sign is taken, and what follows the digits is ignored.
template <typename T>
bool convert(const std::string& text, T* number) {
  const char* const end = text.data() + text.size();
  const char* first = std::find_if_not(text.data(), end, isSpaceToAStream);
  if (first != end && *first == '+') {
    ++first;
    if (first != end && *first == '-') {
      return false;
    }
  }
  return std::from_chars(first, end, *number).ec == std::errc();
}

template <typename T>
bool readNumber(const std::string* text, T* value, const std::list<T>* allowed,
                const T* defaultValue) {
  if (text == nullptr) {
    return answerDefault(value, defaultValue);
  }
  T number = 0;
  if (!convert(*text, &number) || !isAllowed(number, allowed)) {
    return false;
  }
  *value = number;
  return true;
}

}  // namespace

bool ConfigMemory::getSettingsByPrefix(const std::string& prefix,
                                       std::vector<std::pair<std::string, std::string>>* matches) {
  matches->clear();
  for (auto setting = settings.lower_bound(prefix);
       setting != settings.end() && setting->first.starts_with(prefix); ++setting) {
    matches->emplace_back(setting->first, setting->second);
  }
  return !matches->empty();
}

bool ConfigMemory::getIntInRange(const std::string& key, int32_t* value, int32_t minimum,
                                 int32_t maximum, const int32_t* defaultValue) {
  const std::string* const text = find(settings, key);
  if (text == nullptr) {
    return answerDefault(value, defaultValue);
  }
  int32_t number = 0;
  if (!convert(*text, &number) || number < minimum || number > maximum) {
    return false;
  }
  *value = number;
  return true;
}

bool ConfigMemory::getLong(const std::string& key, long* value, const std::list<long>* allowed,
                           const long* defaultValue) {
  return readNumber(find(settings, key), value, allowed, defaultValue);
}

bool ConfigMemory::getInt(const std::string& key, int32_t* value, const std::list<int32_t>* allowed,
                          const int32_t* defaultValue) {
  return readNumber(find(settings, key), value, allowed, defaultValue);
}

bool ConfigMemory::getString(const std::string& key, std::string* value,
                             const std::list<std::string>* allowed,
                             const std::string* defaultValue) {
  const std::string* const text = find(settings, key);
  if (text == nullptr) {
    return answerDefault(value, defaultValue);
  }
  if (!isAllowed(*text, allowed)) {
    return false;
  }
  *value = *text;
  return true;
}

bool ConfigMemory::setSetting(std::string key, std::string value) {
  try {
    settings.insert_or_assign(std::move(key), std::move(value));
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void ConfigMemory::unsupportedSettingsOperation() {
  throw notSupported();
}

bool ConfigMemory::saveSettings() {
  throw notSupported();
}

void ConfigMemory::reloadSettings() {
  throw notSupported();
}
