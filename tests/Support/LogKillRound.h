// LogKillRound: one round of the crash-safety check of text log files. A child process
// (LogKillChild.cpp) logs numbered records from 8 threads; it is killed with SIGKILL at a random
// moment once its file has begun, and the file left behind must hold only records that read
// back: every complete line parses, both by StringStream<LogMessage> and by ReadLogFile, with
// equal times, and each thread's records are 0, 1, 2, ... without a gap.
//
// Shared by the Logging tests (200 rounds) and the benchmarks (1000 rounds).
#pragma once

#include "Base/Files/File.h"
#include "Base/Logging/AsciiFileOutputStream.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Text/String.h"

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

extern char ** environ;

namespace QELTA::Testing {

struct KillRoundResult {
    bool ok = false;
    std::string error;      // what went wrong, when not ok
    unsigned int lines = 0; // complete lines on disk
};

inline unsigned long long FileBytes(std::string const & path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? static_cast<unsigned long long>(info.st_size) : 0;
}

// Checks the file of a killed child.
inline KillRoundResult CheckKilledLog(std::string const & path) {
    KillRoundResult result;
    std::ifstream in(path, std::ios::binary);
    std::string const bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end = bytes.find('\n'); end != std::string::npos; end = bytes.find('\n', start)) {
        lines.push_back(bytes.substr(start, end - start));
        start = end + 1;
    }
    bool const partial = start < bytes.size();
    result.lines = static_cast<unsigned int>(lines.size());

    std::vector<unsigned long> next(8, 0);
    std::vector<Time> times;
    for (std::string const & line : lines) {
        LogMessage record;
        StringStream<LogMessage>::fromString(StringView(line.data(), static_cast<unsigned int>(line.size())), record);
        unsigned int thread = 0;
        unsigned long number = 0;
        if (std::sscanf(record.rawMessage().c_str(), "t%u %lu", &thread, &number) != 2 || thread >= next.size() ||
            !record.recordTime().isValid() || record.logRecordLevel() != 2) {
            result.error = "line does not parse: " + line;
            return result;
        }
        if (number != next[thread]) {
            result.error = "thread " + std::to_string(thread) + " expected record " + std::to_string(next[thread]) +
                           ", found " + std::to_string(number);
            return result;
        }
        ++next[thread];
        times.push_back(record.recordTime());
    }

    MemoryInfoPipe pipe;
    AsciiFileOutputStream::ReadLogFile(LogPtr(&pipe), File(String(path)));
    Buffer<LogMessage> const read = pipe.messages();
    if (read.size() != lines.size() + (partial ? 1 : 0)) {
        result.error = "ReadLogFile gave " + std::to_string(read.size()) + " records for " +
                       std::to_string(lines.size()) + " complete lines";
        return result;
    }
    for (unsigned int i = 0; i < lines.size(); ++i) {
        if (read[i].recordTime() != times[i]) {
            result.error = "ReadLogFile read another time on line " + std::to_string(i + 1);
            return result;
        }
    }
    result.ok = true;
    return result;
}

// Runs the child on `path` (removed first), kills it at a random moment from the random source
// once the file has begun, and checks the file.
inline KillRoundResult KillRound(std::string const & child, std::string const & path, std::mt19937 & random) {
    std::remove(path.c_str());
    std::vector<char *> arguments = {const_cast<char *>(child.c_str()), const_cast<char *>(path.c_str()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, child.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) {
        return {false, "cannot start " + child, 0};
    }
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (FileBytes(path) == 0 && std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid) {
            return {false, "the child ended before it logged", 0};
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    std::this_thread::sleep_for(std::chrono::microseconds(std::uniform_int_distribution<int>(0, 30000)(random)));
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
        return {false, "the child failed on its own", 0};
    }
    return CheckKilledLog(path);
}

} // namespace QELTA::Testing
