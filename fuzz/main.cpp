#include "fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orv::fuzz::Run({data, size});
  return 0;
}
