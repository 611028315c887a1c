#include "terrascope/support/LogSink.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace Terrascope {

namespace {
std::atomic<LogReceiver> receiverOfLines{nullptr};
std::atomic<unsigned> tileFailures{0};
}  // namespace

LogReceiver SetLogReceiver(LogReceiver receiver) {
    return receiverOfLines.exchange(receiver);
}

void LogLine(const char* format, ...) {
    const LogReceiver receiver = receiverOfLines;
    if (receiver == nullptr) {
        return;
    }
    char line[1000];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    receiver(line);
}

void LogTileFailure(const char* key, const char* reason) {
    constexpr unsigned kAllReported = 20;
    constexpr unsigned kThenEvery = 100;
    const unsigned count = ++tileFailures;
    if (count <= kAllReported || count % kThenEvery == 0) {
        LogLine("tile %s: %s (failure %u)", key, reason, count);
    }
}

}  // namespace Terrascope
