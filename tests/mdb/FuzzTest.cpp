// Damaged files must give errors, never crashes: mutated copies of a
// database the test makes, and of the Access-made fixtures where they are
// at hand, are opened, walked completely and written to (under the address
// and undefined-behaviour sanitizers in the sanitizer build). Each case is
// reproducible from its file and seed.
#include "MdbExercise.h"
#include "MdbTestSupport.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace {

constexpr std::size_t kPageSize = 4096;
#ifndef NIMBREL_FUZZ_CASES
#define NIMBREL_FUZZ_CASES 250
#endif
constexpr int kCasesPerFixture = NIMBREL_FUZZ_CASES;

std::vector<uint8_t> readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// Damages the bytes the way real damage looks: changed header fields, row
// offset tables and counts, torn pages, a lost tail.
void mutate(std::vector<uint8_t>& bytes, uint32_t seed)
{
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
    const std::size_t pages = bytes.size() / kPageSize;
    const int changes = 1 + int(pick(6));
    for (int i = 0; i < changes && !bytes.empty(); ++i) {
        const std::size_t page = 1 + pick(std::max<std::size_t>(pages - 1, 1));
        const std::size_t base = std::min(page * kPageSize, bytes.size() - 1);
        switch (pick(6)) {
        case 0:  // a byte of a page header or offset table
            bytes[std::min(base + pick(96), bytes.size() - 1)] = uint8_t(random());
            break;
        case 1:  // any byte
            bytes[pick(bytes.size())] = uint8_t(random());
            break;
        case 2: {  // a 16-bit field set to an extreme
            static const uint16_t extremes[] = {0x0000, 0xFFFF, 0x1FFF, 0x0FFF, 0x8000, 0x4000, 0x0001};
            const std::size_t at = std::min(base + 2 * pick(48), bytes.size() - 2);
            const uint16_t value = extremes[pick(std::size(extremes))];
            bytes[at] = uint8_t(value);
            bytes[at + 1] = uint8_t(value >> 8);
            break;
        }
        case 3:  // a torn page: its second half zeroed
            std::fill(bytes.begin() + std::ptrdiff_t(std::min(base + kPageSize / 2, bytes.size())),
                      bytes.begin() + std::ptrdiff_t(std::min(base + kPageSize, bytes.size())), 0);
            break;
        case 4:  // a page written over another
            if (pages > 2) {
                const std::size_t from = pick(pages) * kPageSize;
                std::copy_n(bytes.begin() + std::ptrdiff_t(from), kPageSize, bytes.begin() + std::ptrdiff_t(page * kPageSize % (pages * kPageSize)));
            }
            break;
        default:  // the tail lost
            bytes.resize(std::max<std::size_t>(pick(bytes.size()), 1));
            break;
        }
    }
}

// Mutates `cases` copies of `original` and exercises each; the seeds follow
// from `name`, so every machine runs the same cases.
void fuzzCopies(const std::vector<uint8_t>& original, const std::string& name, int cases)
{
    ASSERT_FALSE(original.empty());
    uint32_t base = 2166136261u;  // FNV-1a of the name
    for (char c : name)
        base = (base ^ uint8_t(c)) * 16777619u;
    int errors = 0;
    for (int i = 0; i < cases; ++i) {
        std::vector<uint8_t> copy = original;
        mutate(copy, base + uint32_t(i));
        SCOPED_TRACE(name + ", seed " + std::to_string(base + uint32_t(i)));
        errors += exerciseDatabase(std::move(copy)) > 0;
    }
    EXPECT_GT(errors, 0) << "the mutations should damage something";
}

class FuzzedAccessFilesFromFixtures : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST(FuzzedCopies, OfAMadeDatabaseAreReadAndWrittenWithoutCrashing)
{
    fuzzCopies(madeDatabaseBytes(150), "made database", kCasesPerFixture);
}

TEST_P(FuzzedAccessFilesFromFixtures, AreReadAndWrittenWithoutCrashing)
{
    SKIP_WITHOUT_FIXTURES();
    fuzzCopies(readFile(mdbFixture(GetParam())), GetParam(), kCasesPerFixture);
}

INSTANTIATE_TEST_SUITE_P(AccessFiles, FuzzedAccessFilesFromFixtures, ::testing::ValuesIn(mdbFixtureNames()),
                         [](const auto& info) { return info.param.substr(0, info.param.find('.')); });
