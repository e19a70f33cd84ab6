#pragma once

#include <optional>
#include <type_traits>
#include <utility>

// What the rewritten copies of the product's sources call. Each mutation point has a number; one
// of them at most is on in a process. Every operation here gives what the original source would
// give unless its own number is on, and notes that the point was reached. For the build of
// `./dev mutate` alone; included ahead of every file of it.
namespace mutant {

// Whether the point is on; notes that it was reached. Any thread.
bool on(unsigned point) noexcept;

inline bool keeps(unsigned point) noexcept {
  return !on(point);
}

template <class T>
bool negated(unsigned point, const T& value) {
  return on(point) != static_cast<bool>(value);
}

inline bool flag(unsigned point, bool value) {
  return on(point) != value;
}

// `step` away from the original.
template <class T>
T number(unsigned point, T value, int step) {
  return on(point) ? static_cast<T>(value + static_cast<T>(step)) : value;
}

template <class T>
T enumerator(unsigned point, T value) {
  using Number = std::underlying_type_t<T>;
  return on(point) ? static_cast<T>(static_cast<Number>(value) ^ Number{1}) : value;
}

// A value that is no constant of the source: what a function returns.
template <class T>
T returned(unsigned point, T value) {
  if (!on(point)) return value;
  if constexpr (std::is_same_v<T, bool>) {
    return !value;
  } else if constexpr (std::is_enum_v<T>) {
    return static_cast<T>(static_cast<std::underlying_type_t<T>>(value) ^ 1);
  } else if constexpr (std::is_arithmetic_v<T>) {
    return static_cast<T>(value == T{0} ? T{1} : T{0});
  } else {
    return T{};
  }
}

// The text with its last character changed; an empty one gets a character.
template <class Char>
const Char* text(unsigned point, const Char* original) {
  if (!on(point)) return original;
  std::size_t size = 0;
  while (original[size] != 0) ++size;
  // Never freed: nobody knows how long the source's text is used.
  Char* const changed = new Char[size + 2]{};
  for (std::size_t i = 0; i < size; ++i) changed[i] = original[i];
  if (size == 0) {
    changed[0] = static_cast<Char>('?');
  } else {
    changed[size - 1] = static_cast<Char>(changed[size - 1] == '#' ? '?' : '#');
  }
  return changed;
}

// What a switch looks at: a value that belongs to `label` no longer does.
template <class T, class Label>
T away(unsigned point, T value, Label label) {
  if (value != static_cast<T>(label) || !on(point)) return value;
  if constexpr (std::is_enum_v<T>) {
    return static_cast<T>(static_cast<std::underlying_type_t<T>>(value) ^ 0x55);
  } else {
    return static_cast<T>(value ^ static_cast<T>(0x55));
  }
}

// Two ways to compare, each with a point of its own; 0 is no point.
#define MUTANT_COMPARISON(name, original, first, second)                          \
  template <class Left, class Right>                                              \
  bool name(unsigned one, unsigned other, const Left& left, const Right& right) { \
    if (one != 0 && on(one)) return static_cast<bool>(left first right);          \
    if (other != 0 && on(other)) return static_cast<bool>(left second right);     \
    return static_cast<bool>(left original right);                                \
  }
MUTANT_COMPARISON(equal, ==, !=, !=)
MUTANT_COMPARISON(unequal, !=, ==, ==)
MUTANT_COMPARISON(less, <, <=, >=)
MUTANT_COMPARISON(lessOrEqual, <=, <, >)
MUTANT_COMPARISON(greater, >, >=, <=)
MUTANT_COMPARISON(greaterOrEqual, >=, >, <)
#undef MUTANT_COMPARISON

template <class Left, class Right>
auto plus(unsigned point, Left left, Right right) {
  return on(point) ? left - right : left + right;
}

template <class Left, class Right>
auto minus(unsigned point, Left left, Right right) {
  return on(point) ? left + right : left - right;
}

// A guard that is not there while its point is on.
template <class Guard>
class Maybe {
 public:
  template <class... Arguments>
  explicit Maybe(unsigned point, Arguments&&... arguments) {
    if (!on(point)) guard.emplace(std::forward<Arguments>(arguments)...);
  }

 private:
  std::optional<Guard> guard;
};

// For the runner. `setOn(0)` is the product as it is.
inline constexpr unsigned kMostPoints = 1 << 16;
void setOn(unsigned point) noexcept;
const unsigned char* reached() noexcept;
void forgetReached() noexcept;

}  // namespace mutant
