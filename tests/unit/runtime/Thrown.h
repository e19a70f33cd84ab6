#pragma once

#include <exception>
#include <functional>
#include <string>
#include <typeinfo>

// What `action` throws, told as its text. It must throw exactly an `Expected`, not something
// derived from it or beside it; otherwise the text says what came instead.
template <class Expected>
std::string thrownBy(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::exception& e) {
    return typeid(e) == typeid(Expected) ? e.what() : std::string("another exception: ") + e.what();
  } catch (...) {
    return "something that is no exception";
  }
  return "nothing";
}
