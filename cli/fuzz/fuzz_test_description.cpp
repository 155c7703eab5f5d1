// Feeds arbitrary bytes to the test description loader as the text of a file. Each input must
// load to a description or to errors, never both and never neither; anything else (an exception,
// a sanitizer finding, a hang) is a crash for libFuzzer to report.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "TestDescription.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const storageio_cli::LoadResult result = storageio_cli::LoadTestDescription(text, "fuzz.yaml", "/work");
  if (result.errors.empty() != result.description.has_value()) std::abort();
  return 0;
}
