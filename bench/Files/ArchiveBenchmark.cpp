// Zip packing and unpacking of a folder of 2 000 files (500 MB) beside the zip and unzip command
// lines, and the extraction of the same folder as a 500 MB tar.gz beside `tar xzf` and
// libarchive. The files are generated from a fixed seed: lines of words and numbers, as measured
// data is kept, mixed with stretches of noise. Every case runs on the wall clock, since the
// command-line peers work in other processes; the counter cpu_s adds the processor time of this
// process and of the peers' processes, which on a busy machine compares the work more fairly than
// the wall clock, where a peer split into two processes gets two shares of the processors.
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Files/TAR.h"
#include "Base/Text/PasswordString.h"

#include <benchmark/benchmark.h>

#if defined(QELTA_HAVE_LIBARCHIVE)
#include <archive.h>
#include <archive_entry.h>
#endif

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/resource.h>
#include <system_error>

namespace QELTA {
namespace {

namespace fs = std::filesystem;

constexpr unsigned int file_count = 2000;
constexpr unsigned long long file_size = 250000; // 2 000 files of 250 KB: 500 MB
constexpr char bench_folder[] = "/tmp/qelta-bench-archive";

std::string Folder(char const * name) {
    return std::string(bench_folder) + "/" + name;
}

bool CommandExists(char const * command) {
    return std::system((std::string("command -v ") + command + " >/dev/null 2>&1").c_str()) == 0;
}

// The tree, in 20 folders of 100 files, made on the first run and kept for later ones; then its
// zip (made by ours) and tar.gz (made by tar).
std::string const & Source() {
    static std::string const source = [] {
        std::string const folder = Folder("source");
        std::string const marker = folder + "/.complete";
        if (!fs::exists(marker)) {
            std::error_code ignored;
            fs::remove_all(bench_folder, ignored);
            std::mt19937_64 random(2024);
            std::string content;
            for (unsigned int i = 0; i < file_count; ++i) {
                content.clear();
                while (content.size() < file_size) {
                    if (random() % 8 == 0) {
                        for (int k = 0; k < 64; ++k) {
                            content += static_cast<char>(random());
                        }
                    } else {
                        content += 'P';
                        content += std::to_string(random() % 100000);
                        content += '\t';
                        content += std::to_string(random() % 1000);
                        content += '.';
                        content += std::to_string(random() % 100);
                        content += "\tdeck ";
                        content += std::to_string(random() % 50);
                        content += '\n';
                    }
                }
                content.resize(file_size);
                std::string const sub = folder + "/part" + std::to_string(i / 100);
                fs::create_directories(sub);
                std::ofstream(sub + "/file" + std::to_string(i) + ".txt", std::ios::binary) << content;
            }
            Compressor::ZLibCompressFile(File(String(folder + "/")), File(String(Folder("tree.zip"))),
                                         PasswordString());
            std::system(("tar -czf " + Folder("tree.tar.gz") + " -C " + folder + " .").c_str());
            std::ofstream(marker) << "done";
        }
        return folder;
    }();
    return source;
}

// The processor time, user and system, of this process and of its children that have ended.
double ProcessorSeconds() {
    double seconds = 0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        seconds += static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                   static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
    return seconds;
}

// Runs `work` once an iteration into an output folder removed beforehand, outside the timing.
template <class Work>
void TimeInto(benchmark::State & state, char const * output, Work work) {
    Source();
    std::string const out = Folder(output);
    double processor = 0;
    for (auto _ : state) {
        state.PauseTiming();
        std::error_code ignored;
        fs::remove_all(out, ignored);
        fs::create_directories(out);
        double const start = ProcessorSeconds();
        state.ResumeTiming();
        bool const done = work(out);
        state.PauseTiming();
        processor += ProcessorSeconds() - start;
        state.ResumeTiming();
        if (!done) {
            state.SkipWithError("failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file_count * file_size));
    state.counters["cpu_s"] = benchmark::Counter(processor, benchmark::Counter::kAvgIterations);
}

void ZipPackQELTA(benchmark::State & state) {
    TimeInto(state, "pack", [](std::string const & out) {
        return Compressor::ZLibCompressFile(File(String(Source() + "/")), File(String(out + "/tree.zip")),
                                            PasswordString()) == 0;
    });
}

void ZipPackCommand(benchmark::State & state) {
    if (!CommandExists("zip")) {
        state.SkipWithError("zip is not installed");
        return;
    }
    TimeInto(state, "pack", [](std::string const & out) {
        return std::system(("cd " + Source() + " && zip -qr " + out + "/tree.zip . -x .complete").c_str()) == 0;
    });
}

void ZipUnpackQELTA(benchmark::State & state) {
    TimeInto(state, "unpack", [](std::string const & out) {
        return Compressor::ZLibDecompressFile(File(String(Folder("tree.zip"))), File(String(out + "/")),
                                              PasswordString()) == 0;
    });
}

void ZipUnpackCommand(benchmark::State & state) {
    if (!CommandExists("unzip")) {
        state.SkipWithError("unzip is not installed");
        return;
    }
    TimeInto(state, "unpack", [](std::string const & out) {
        return std::system(("unzip -qo " + Folder("tree.zip") + " -d " + out).c_str()) == 0;
    });
}

void TarGzQELTA(benchmark::State & state) {
    TimeInto(state, "untar", [](std::string const & out) {
        return TAR::Extract(File(String(Folder("tree.tar.gz"))), File(String(out + "/"))) == TAR::OK;
    });
}

void TarGzCommand(benchmark::State & state) {
    TimeInto(state, "untar", [](std::string const & out) {
        return std::system(("tar -xzf " + Folder("tree.tar.gz") + " -C " + out).c_str()) == 0;
    });
}

#if defined(QELTA_HAVE_LIBARCHIVE)
// libarchive's own extraction loop, with the flags a careful caller sets.
bool ExtractWithLibarchive(std::string const & archive, std::string const & out) {
    struct archive * reader = archive_read_new();
    archive_read_support_filter_gzip(reader);
    archive_read_support_format_tar(reader);
    struct archive * writer = archive_write_disk_new();
    archive_write_disk_set_options(writer, ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM |
                                               ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT);
    bool ok = archive_read_open_filename(reader, archive.c_str(), 1 << 20) == ARCHIVE_OK;
    archive_entry * entry = nullptr;
    while (ok && archive_read_next_header(reader, &entry) == ARCHIVE_OK) {
        std::string const path = out + "/" + archive_entry_pathname(entry);
        archive_entry_set_pathname(entry, path.c_str());
        ok = archive_write_header(writer, entry) == ARCHIVE_OK;
        void const * block = nullptr;
        size_t size = 0;
        la_int64_t offset = 0;
        while (ok && archive_read_data_block(reader, &block, &size, &offset) == ARCHIVE_OK) {
            ok = archive_write_data_block(writer, block, size, offset) == ARCHIVE_OK;
        }
        ok = ok && archive_write_finish_entry(writer) == ARCHIVE_OK;
    }
    archive_read_free(reader);
    archive_write_free(writer);
    return ok;
}

void TarGzLibarchive(benchmark::State & state) {
    TimeInto(state, "untar", [](std::string const & out) { return ExtractWithLibarchive(Folder("tree.tar.gz"), out); });
}
#endif

BENCHMARK(ZipPackQELTA)->Name("ZipPack500MB/QELTA")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ZipPackCommand)->Name("ZipPack500MB/zip")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ZipUnpackQELTA)->Name("ZipUnpack500MB/QELTA")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ZipUnpackCommand)->Name("ZipUnpack500MB/unzip")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TarGzQELTA)->Name("TarGzExtract500MB/QELTA")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TarGzCommand)->Name("TarGzExtract500MB/tar")->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
#if defined(QELTA_HAVE_LIBARCHIVE)
BENCHMARK(TarGzLibarchive)
    ->Name("TarGzExtract500MB/libarchive")
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
#endif

} // namespace
} // namespace QELTA
