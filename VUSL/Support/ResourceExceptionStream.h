#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/AppendPrinted.h"

// One layer of an exception for an end user: the id of a string resource and the parameters for its
// placeholders. `D` is the final class, which the stream operator returns; `B` is the base.
//
// Each layer has fields of its own. Only the outermost is filled by streaming and read back.
template <class D, class B>
class ResourceExceptionStream : public B {
 public:
  // `id` of the string resource in the language libraries.
  explicit ResourceExceptionStream(int32_t id)
      : resourceId_(id),
        description_("Resource exception of type " + std::to_string(id) + " was thrown") {}

  ResourceExceptionStream(const ResourceExceptionStream&) = default;
  ResourceExceptionStream& operator=(const ResourceExceptionStream&) = default;
  ~ResourceExceptionStream() override = default;

  // Names the id only; neither parameters nor any resource text are in it.
  const char* what() const noexcept override { return description_.c_str(); }

  // These override operations of one base and are new in another.
  // NOLINTBEGIN(modernize-use-override)

  virtual int32_t resourceId() const { return resourceId_; }

  // The parameters in order, with `separator` after each but the last. Empty if there are none.
  virtual std::string joinedParams(std::string separator) const {
    std::string joined;
    for (size_t i = 0; i < params_.size(); ++i) {
      if (i != 0) joined += separator;
      joined += params_[i];
    }
    return joined;
  }

  virtual std::vector<std::string> params() const { return params_; }

  // Always empty: nothing writes it. It is part of what readers of the class may ask for.
  virtual const char* details() const { return details_.c_str(); }

  // NOLINTEND(modernize-use-override)

  // Adds `value`, as a narrow stream prints it by default, as the next parameter.
  template <class Value>
  D& operator<<(const Value& value) {
    std::string text;
    AppendPrinted(text, value);
    params_.push_back(std::move(text));
    return dynamic_cast<D&>(*this);
  }

 private:
  int32_t resourceId_;
  std::string description_;
  std::vector<std::string> params_;
  std::string details_;
};
