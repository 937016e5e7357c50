// Coverage-guided fuzzing of remote collection's message handling with
// libFuzzer (clang only), built as the import readers' fuzzer is:
//   cmake -S . -B build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DNIMBREL_FUZZER=ON -DNIMBREL_CORE_ONLY=ON
//   cmake --build build-fuzz --target remote_fuzzer
//   build-fuzz/tests/remote_fuzzer -max_total_time=60 corpus/
// The input's first byte picks the sizes of the pieces the rest arrives
// in. The client's cutter and field readers and the server's request
// reader take every piece: no crash, no hang, no read out of bounds, and
// what waits stays within its bound.
#include "core/remote/RemoteProtocol.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr qsizetype kLimit = 4096;

void asClient(const QByteArray& bytes, qsizetype piece)
{
    RemoteProtocol::MessageCutter cutter(kLimit);
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        cutter.append(bytes.mid(at, piece));
        while (const auto message = cutter.next()) {
            (void)RemoteProtocol::sourceList(*message);
            (void)RemoteProtocol::reading(*message);
        }
        if (cutter.overLimit())
            return;  // the client disconnects here
        if (cutter.waiting().size() > kLimit + piece)
            std::abort();
    }
}

void asServer(const QByteArray& bytes, qsizetype piece)
{
    QByteArray buffer;
    qsizetype skipped = 0;
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        buffer += bytes.mid(at, piece);
        (void)RemoteProtocol::takeRequests(buffer, false, skipped);
        if (buffer.size() > 32)
            std::abort();  // only the start of one request may wait
    }
    (void)RemoteProtocol::takeRequests(buffer, true, skipped);
    if (!buffer.isEmpty())
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype piece = 1 + data[0] % 64;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    asClient(bytes, piece);
    asServer(bytes, piece);
    return 0;
}
