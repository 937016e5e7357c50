// Coverage-guided fuzzing of the two import readers with libFuzzer (clang
// only), built as the file engine's fuzzer is:
//   cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DNIMBREL_FUZZER=ON -DNIMBREL_CORE_ONLY=ON
//   cmake --build build-fuzz --target import_fuzzer
//   build-fuzz/tests/import_fuzzer -max_total_time=60 corpus/ ../shared/fixtures/
// Each input is read as a saved observations page and, when it passes the
// check, as a station history, to the end: no crash, no hang, no read out
// of bounds under the sanitizers.
#include "core/import/PageTextReader.h"
#include "core/import/StationHistoryReader.h"

#include <QBuffer>

#include <cstddef>
#include <cstdint>

namespace {

template <typename Reader>
void readAll(Reader& reader)
{
    while (reader.next()) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QDateTime now(QDate(2026, 11, 23), QTime(12, 0));
    {
        QBuffer page;
        page.setData(bytes);
        page.open(QIODevice::ReadOnly);
        PageTextReader reader(page, now.date());
        readAll(reader);
    }
    QBuffer history;
    history.setData(bytes);
    history.open(QIODevice::ReadOnly);
    QString error;
    if (StationHistoryReader::inspect(history, now, error)) {
        StationHistoryReader every(history, now), thinned(history, now, 10);
        readAll(every);
        history.seek(0);
        readAll(thinned);
    }
    return 0;
}
