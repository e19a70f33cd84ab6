#pragma once

#include <exception>
#include <string>

// The root of every failure of this system. An exception object is built and streamed into as a
// temporary, copied by the throw, and belongs to the thread that holds it; nothing in it is shared.
class BaseException : public std::exception {
 public:
  BaseException() = default;

  // `what()` returns exactly `text`.
  explicit BaseException(const std::string& text) : message(text) {}

  BaseException(const BaseException&) = default;
  BaseException& operator=(const BaseException&) = default;
  ~BaseException() override = default;

  const char* what() const noexcept override { return message.c_str(); }

 private:
  std::string message;
};
