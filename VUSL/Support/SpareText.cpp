#include "VUSL/Support/SpareText.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace vusl {

namespace {

// As many as threads that are likely to log at the same time. The platform counts thread ids in
// steps of four.
constexpr uint32_t kPlaces = 8;
constexpr uint32_t kThreadIdStep = 4;

// A line of the processor's cache for each place, so that threads do not slow each other down.
constexpr size_t kCacheLineBytes = 64;

struct alignas(kCacheLineBytes) Place {
  std::atomic<string_t*> spare{nullptr};
};

constinit std::array<Place, kPlaces> places;

}  // namespace

SpareText::SpareText(uint32_t thread)
    : place(thread / kThreadIdStep % kPlaces),
      text_(places[place].spare.exchange(nullptr, std::memory_order_acquire)) {
  if (text_ == nullptr) text_ = new string_t;
  text_->clear();
}

SpareText::~SpareText() {
  delete places[place].spare.exchange(text_, std::memory_order_acq_rel);
}

}  // namespace vusl
