// Coverage-guided fuzzing of the file reader with libFuzzer (clang only):
//   cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DNIMBREL_FUZZER=ON -DNIMBREL_CORE_ONLY=ON
//   cmake --build build-fuzz --target mdb_fuzzer
//   build-fuzz/tests/mdb_fuzzer -max_len=400000 corpus/ ../shared/fixtures/mdb/
// A crash input found this way becomes a test of its own (DamagedFileTest.cpp).
#include "MdbExercise.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    exerciseDatabase(std::vector<uint8_t>(data, data + size));
    return 0;
}
