#include "VUSL/SupportCore/BufferWriter.h"

#include <exception>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/BufferWriterException.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/SharedTexts.h"

namespace {

// The number is part of the text, whatever line the throw stands on. That is deliberate: whoever
// searches old logs for it finds the same place.
constexpr char kLocation[] = "VUSL\\SupportCore\\Buffer:26";

}  // namespace

BufferWriter::BufferWriter(Buffer& target) : BufferWriter(target.data(), target.size()) {}

BufferWriter::BufferWriter(void* target, uint32_t targetSize)
    : data(static_cast<unsigned char*>(target)), capacity(targetSize) {}

void BufferWriter::failForPosition() {
  throw AssertException("Invalid currentPos");
}

void BufferWriter::failForRoom(unsigned int size, uint32_t room) {
  throw vusl::BufferWriterException(kLocation)
      << "Unable to write data (space required:" << size << ", space available:" << room << ")";
}

void BufferWriter::failToCopy() {
  LogItem("writeRaw").error() << kMemcpyFailed;
  throw std::exception();
}
