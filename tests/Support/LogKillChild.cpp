// The child of the kill rounds (LogKillRound.h): 8 threads log numbered records "t<thread> <n>" to
// one Log with a text log file until the parent kills the process, or until each thread has
// logged its share; then it waits for the file and ends.
//
//   LogKillChild FILE [RECORDS_PER_THREAD]
#include "Base/Files/File.h"
#include "Base/Logging/AsciiFileOutputStream.h"
#include "Base/Logging/Log.h"
#include "Base/Text/String.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

int main(int argc, char ** argv) {
    using namespace QELTA;
    if (argc < 2) {
        std::fputs("usage: LogKillChild FILE [RECORDS_PER_THREAD]\n", stderr);
        return 2;
    }
    unsigned long const records = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 200000;
    constexpr unsigned int threads = 8;
    // A pause after each burst keeps the loggers near the pace of the disk, so that the queue
    // never fills and drops records: a gap on disk would then be a fault of the stream.
    constexpr unsigned long burst = 32;

    Log log;
    AsciiFileOutputStream stream(File(String(argv[1])), false);
    log.addStream(&stream, false);
    std::vector<std::thread> loggers;
    for (unsigned int t = 0; t < threads; ++t) {
        loggers.emplace_back([&log, t, records] {
            std::string text;
            for (unsigned long n = 0; n < records; ++n) {
                text = "t" + std::to_string(t) + " " + std::to_string(n);
                log.addMessage(InfoPipe::no_id, StringView(text.data(), static_cast<unsigned int>(text.size())), 2);
                if (n % burst == burst - 1) {
                    std::this_thread::sleep_for(std::chrono::microseconds(50));
                }
            }
        });
    }
    for (std::thread & logger : loggers) {
        logger.join();
    }
    stream.waitUntilWritten(60ull * 1000 * 1000 * 1000);
    return 0;
}
