// Feeds arbitrary bytes to the wire decoder. Each input must be refused with a Tm_exception, or
// decode to a message that encodes and decodes again to an equal message; anything else (another
// exception, a sanitizer finding, a mismatch) is a crash for libFuzzer to report.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "tm/Tm_exception.h"
#include "tm/Tm_wire.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Message decoded;
  try {
    decoded = tm_decode(data, size);
  } catch (const Tm_exception&) {
    return 0;
  }
  if (!tm_decode(tm_encode(decoded)).equals(decoded)) std::abort();
  return 0;
}
