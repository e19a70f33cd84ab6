#pragma once

#include <string>

#include "VUSL/Support/AppendPrinted.h"

// One layer of an exception that is built by streaming values into it. `D` is the final class,
// which the stream operator returns so that `throw D(location) << "text"` throws a D; `B` is the
// base.
//
// Each layer has a text of its own: a class with two such layers in its ancestry streams into the
// outer one and `what()` reads the outer one, while the text of the inner one stays empty.
template <class D, class B>
class ExceptionStream : public B {
 public:
  ExceptionStream() = default;

  // Starts the text with `location` and ":", with no blank after it. An empty location adds
  // nothing.
  explicit ExceptionStream(const std::string& location) {
    if (!location.empty()) message = location + ":";
  }

  ExceptionStream(const ExceptionStream&) = default;
  ExceptionStream& operator=(const ExceptionStream&) = default;
  ~ExceptionStream() override = default;

  const char* what() const noexcept override { return message.c_str(); }

  // Appends `value` as a narrow stream prints it by default. Each value gets a stream of its own,
  // so a base or a width never lasts from one value to the next.
  template <class Value>
  D& operator<<(const Value& value) {
    AppendPrinted(message, value);
    return dynamic_cast<D&>(*this);
  }

 protected:
  std::string message;
};
