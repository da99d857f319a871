// qelta binary: a file packed into a binary container of compressed blocks and read back, and the
// blocks of such a container listed.
//
// The container that pack writes, in the order of the calls:
//   "qelta-pack" and a zero byte
//   8 bytes   where the string table begins
//   8 bytes   the size of the packed file
//   block     the file's name, as an index into the string table (mode 14)
//   4 bytes   the number of data blocks
//   blocks    the file's bytes, 1 MiB a block (the last one shorter), in the chosen mode
//   table     the string table, deflated
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BinaryFile.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Text/StringStream.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

constexpr char pack_magic[] = "qelta-pack";
constexpr unsigned int pack_block_size = 1u << 20;
// The width of a block header in the container: count, size plus one, mode.
constexpr unsigned long long block_header_size = 9;

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

String ModeName(unsigned char mode) {
    StringAllocatingView text;
    StringStream<CompressionMode>::toString(static_cast<CompressionMode>(mode), text);
    return String(text.view());
}

// "\r<verb> <name> 42%", rewritten in place; the last call ends the line.
void ShowProgress(char const * verb, String const & name, unsigned long long done, unsigned long long total) {
    unsigned long long const percent = total == 0 ? 100 : done * 100 / total;
    std::printf("\r%s %s %llu%%", verb, name.c_str(), percent);
    if (done >= total) {
        std::putchar('\n');
    }
    std::fflush(stdout);
}

// "qelta binary <verb>: <file> at byte <position>: <message>", exit code 1.
int FailAt(char const * verb, File const & file, unsigned long long position, Exception const & error) {
    String text = NativeEnglish(error.message());
    if (text.isEmpty()) {
        text = NativeEnglish(error.title());
    }
    std::fflush(stdout);
    std::fprintf(stderr, "qelta binary %s: %s at byte %llu: %s\n", verb, NativePath(file).c_str(), position,
                 text.c_str());
    return exit_failure;
}

int FailWith(char const * verb, File const & file, char const * message) {
    std::fflush(stdout);
    std::fprintf(stderr, "qelta binary %s: %s: %s\n", verb, NativePath(file).c_str(), message);
    return exit_failure;
}

void PrintSizes(unsigned long long original, unsigned long long container, double milliseconds) {
    double const ratio = original == 0 ? 1.0 : static_cast<double>(container) / static_cast<double>(original);
    std::printf("  original   %llu bytes\n  container  %llu bytes\n  ratio      %.3f\n  time       %.1f ms\n", original,
                container, ratio, milliseconds);
}

struct PackArguments {
    std::string file;
    std::string out;
    CompressionMode mode = DEFAULT_COMPRESSION;
};

int RunPack(PackArguments const & arguments) {
    File source = FromNativePath(arguments.file);
    File const target = FromNativePath(arguments.out);
    try {
        Clock::time_point const start = Clock::now();
        File::LargeByteBuffer const bytes = source.getDataExtended();
        String const name(source.getPath(File::NAME | File::EXTENSION));
        unsigned long long const size = bytes.size();
        unsigned int const blocks = static_cast<unsigned int>((size + pack_block_size - 1) / pack_block_size);

        BinaryFile container(target);
        container.cachedOpen(false);
        container.writeTerminatingString(pack_magic, 0);
        unsigned long long const table_field = container.position();
        container.writeDirect(0ull);
        container.writeDirect(size);
        container.write(StringView(name), DEFAULT_COMPRESSION);
        container.writeDirect(blocks);
        Buffer<unsigned char> block;
        for (unsigned int b = 0; b < blocks; ++b) {
            unsigned long long const begin = static_cast<unsigned long long>(b) * pack_block_size;
            unsigned int const length =
                static_cast<unsigned int>(std::min<unsigned long long>(pack_block_size, size - begin));
            block.setSize(0);
            block.append(bytes.data() + begin, length);
            container.write(block, arguments.mode);
            ShowProgress("packing", name, begin + length, size);
        }
        unsigned long long const table = container.position();
        container.writeStringData(BEST_SPEED);
        container.seek(table_field);
        container.writeDirect(table);
        unsigned long long const packed = container.cachedData().size();
        container.close();
        std::printf("packed %s into %s\n", NativePath(source).c_str(), NativePath(target).c_str());
        std::printf("  blocks     %u of up to %u bytes, mode %s\n", blocks, pack_block_size,
                    ModeName(arguments.mode).c_str());
        PrintSizes(size, packed, Milliseconds(start));
    } catch (Exception const & error) {
        return Failure("binary pack", error);
    }
    return exit_ok;
}

// Opens a container written by pack and reads its string table; the cursor ends behind the size.
// False when the file isn't one.
bool OpenContainer(BinaryFile & container, unsigned long long & size) {
    container.cachedOpen(true);
    String magic;
    container.readString(magic, 0);
    unsigned long long table = 0;
    if (magic.view() != StringView(pack_magic) || !container.readDirect(table) || !container.readDirect(size) ||
        table > container.fileSize()) {
        return false;
    }
    unsigned long long const header_end = container.position();
    container.seek(table);
    container.readStringData(true);
    container.seek(header_end);
    return true;
}

struct UnpackArguments {
    std::string container;
    std::string file;
};

int RunUnpack(UnpackArguments const & arguments) {
    File const source = FromNativePath(arguments.container);
    File target = FromNativePath(arguments.file);
    BinaryFile container(source);
    try {
        Clock::time_point const start = Clock::now();
        unsigned long long size = 0;
        if (!OpenContainer(container, size)) {
            return FailWith("unpack", source, "not a container written by 'qelta binary pack'");
        }
        String name;
        container.read(name);
        unsigned int blocks = 0;
        container.readDirect(blocks);
        if (static_cast<unsigned long long>(blocks) * block_header_size > container.fileSize()) {
            return FailWith("unpack", source, "more blocks announced than the file can hold");
        }
        std::vector<Buffer<unsigned char>> data(blocks);
        unsigned long long const data_begin = container.position();
        unsigned long long read = 0;
        for (unsigned int b = 0; b < blocks; ++b) {
            unsigned long long const at = container.position();
            try {
                bool may_defer = true;
                container.read(data[b], may_defer);
            } catch (Exception const & error) {
                return FailAt("unpack", source, at, error);
            }
            read += data[b].size();
            ShowProgress("reading", name, b + 1, blocks);
        }
        std::printf("decompressing %u deferred blocks side by side\n", container.pendingSections());
        try {
            container.uncompressAll();
        } catch (Exception const & failure) {
            // Read the blocks again one at a time, so that the failure names the block it is in.
            container.seek(data_begin);
            container.setAllowDeferred(false);
            for (Buffer<unsigned char> & block : data) {
                unsigned long long const at = container.position();
                try {
                    container.read(block);
                } catch (Exception const & error) {
                    return FailAt("unpack", source, at, error);
                }
            }
            return FailAt("unpack", source, container.position(), failure);
        }
        if (read != size) {
            return FailWith("unpack", source, "the blocks hold another size than the container announces");
        }
        target.open(File::WRITE_BINARY);
        for (Buffer<unsigned char> const & block : data) {
            std::fwrite(block.data(), 1, block.size(), target.filePtr());
        }
        target.close();
        std::printf("unpacked %s (stored as %s) into %s\n", NativePath(source).c_str(), name.c_str(),
                    NativePath(target).c_str());
        PrintSizes(size, container.fileSize(), Milliseconds(start));
    } catch (FileException const & error) {
        return Failure("binary unpack", error);
    } catch (Exception const & error) {
        return FailAt("unpack", source, container.position(), error);
    }
    return exit_ok;
}

// The header of the block at the cursor, read field by field; false at a truncated header.
bool ReadHeader(BinaryFile & container, unsigned int & count, unsigned int & size_plus_one, unsigned char & mode) {
    return container.readDirect(count) &&
           (count == 0 || (container.readDirect(size_plus_one) && container.readDirect(mode)));
}

int RunInspect(std::string const & path) {
    File const source = FromNativePath(path);
    BinaryFile container(source);
    try {
        unsigned long long size = 0;
        if (!OpenContainer(container, size)) {
            return FailWith("inspect", source, "not a container written by 'qelta binary pack'");
        }
        std::printf("%s: %llu bytes in %llu\n", NativePath(source).c_str(), size, container.fileSize());
        std::printf("%-8s %-10s %-20s %12s %12s\n", "at", "block", "mode", "elements", "stored");
        unsigned int blocks = 0;
        for (unsigned int b = 0; b < blocks + 1; ++b) {
            unsigned long long const at = container.position();
            unsigned int count = 0;
            unsigned int size_plus_one = 1;
            unsigned char mode = 0;
            if (!ReadHeader(container, count, size_plus_one, mode) || size_plus_one == 0) {
                return FailWith("inspect", source, "a block header is cut short");
            }
            bool const table_entry = mode == Compressor::string_index_mode;
            unsigned long long const stored = table_entry || count == 0 ? 0 : size_plus_one - 1ull;
            String const label = b == 0 ? String("name") : String(("data " + std::to_string(b)).c_str());
            std::printf("%-8llu %-10s %-20s %12u %12llu%s\n", at, label.c_str(),
                        count == 0 ? "-" : ModeName(mode).c_str(), count, stored, table_entry ? "  (table entry)" : "");
            container.seek(container.position() + stored);
            if (b == 0 && !container.readDirect(blocks)) {
                return FailWith("inspect", source, "the block count is cut short");
            }
        }
        std::printf("string table: %u entries, %u bytes\n", container.stringOffsets().size(),
                    container.stringData().size());
    } catch (FileException const & error) {
        return Failure("binary inspect", error);
    } catch (Exception const & error) {
        return FailAt("inspect", source, container.position(), error);
    }
    return exit_ok;
}

// Reads a mode by its name, in any case; the modes that keep no data are refused.
CLI::Validator ModeNames() {
    return CLI::Validator(
        [](std::string & text) {
            CompressionMode mode = NO_COMPRESSION;
            StringStream<CompressionMode>::fromString(StringView(text), mode);
            StringAllocatingView name;
            StringStream<CompressionMode>::toString(mode, name);
            if (mode == NUMBER_COMPRESSION) {
                return std::string("keeps no data: its blocks come back as zeros");
            }
            if (mode > BEST_COMPRESSION || !String(name.view()).isSameNoCase(StringView(text))) {
                return std::string("is not one of NO_COMPRESSION, DEFAULT_COMPRESSION, BEST_SPEED, "
                                   "STRING_COMPRESSION, BEST_COMPRESSION");
            }
            text = std::to_string(static_cast<unsigned int>(mode));
            return std::string();
        },
        "");
}

} // namespace

void DemoBinary() {
    std::puts("\n== Binary files and compression");
    std::puts("A generated table of 2000 rows, written as blocks into a memory image:");
    String table;
    for (unsigned int row = 0; row < 2000; ++row) {
        table.append(StringView("point "));
        table.append(StringView(std::to_string(row).c_str()));
        table.append(StringView(row % 3 == 0 ? "\tpier\t" : "\tdeck\t"));
        table.append(StringView(std::to_string(row * 37 % 1000).c_str()));
        table.append(StringView(".25\n"));
    }
    BinaryFile writer;
    writer.cachedOpen(false);
    writer.write(table, BEST_SPEED);
    unsigned long long const table_block = writer.position();
    for (char const * label : {"pier", "deck", "pier", "pier"}) {
        writer.write(StringView(label), DEFAULT_COMPRESSION);
    }
    unsigned long long const blocks_end = writer.position();
    writer.writeStringData(BEST_SPEED);
    std::printf("table %u bytes -> block %llu bytes (ratio %.3f)\n", table.size(), table_block,
                static_cast<double>(table_block) / table.size());
    std::printf("4 labels, 2 distinct: each label block is 9 bytes, the table holds %u entries\n",
                writer.stringOffsets().size());

    BinaryFile reader(writer.cachedData());
    reader.seek(blocks_end);
    reader.readStringData(true);
    reader.seek(0);
    String back;
    bool may_defer = true;
    reader.read(back, may_defer);
    std::printf("read back: deferred %s, %u block waiting", may_defer ? "yes" : "no", reader.pendingSections());
    reader.uncompressAll();
    String label;
    reader.read(label);
    std::printf(", equal after uncompressAll: %s, first label \"%s\"\n", back.view() == table.view() ? "yes" : "no",
                label.c_str());
}

void AddBinaryCommand(CLI::App & qelta) {
    CLI::App & binary =
        AddCommand(qelta, "binary", "files packed into binary containers of compressed blocks",
                   "A container is a sequence of blocks: a count, the stored size plus one, the mode byte and\n"
                   "the stored bytes, with 32-bit little-endian fields. Texts may go into a string table that\n"
                   "the whole file shares, so that equal texts are stored once. Deflate runs at level 1; a\n"
                   "block it doesn't shrink, and any block under 256 bytes, is stored as it is.");

    auto const pack = std::make_shared<PackArguments>();
    CLI::App & pack_command =
        AddCommand(binary, "pack", "stores FILE in the container OUT",
                   "Writes OUT: a header, the name of FILE as a string table entry, its bytes in blocks of\n"
                   "1 MiB in the chosen mode, and the string table. The whole container is built in memory and\n"
                   "written with one call. Prints the sizes, the ratio container / original and the time.\n"
                   "Modes: NO_COMPRESSION, DEFAULT_COMPRESSION (the default), BEST_SPEED, BEST_COMPRESSION (all\n"
                   "three deflate at level 1 and differ only in the byte recorded), STRING_COMPRESSION (each block\n"
                   "into the string table, so equal blocks are stored once). A FILE that can't be read ends with\n"
                   "exit code 1.",
                   [pack] { return RunPack(*pack); });
    pack_command.add_option("FILE", pack->file, "the file to pack")->required();
    pack_command.add_option("OUT", pack->out, "the container to write")->required();
    pack_command.add_option("--mode", pack->mode, "the mode of the data blocks")
        ->type_name("NAME")
        ->transform(ModeNames());

    auto const unpack = std::make_shared<UnpackArguments>();
    CLI::App & unpack_command =
        AddCommand(binary, "unpack", "writes the file stored in the container OUT to FILE",
                   "Reads OUT into memory and its string table, then the data blocks, whose decompression\n"
                   "waits until all are read and then runs side by side on all cores. Prints the sizes, the\n"
                   "ratio and the time. A file that is no such container, or whose blocks are damaged, ends\n"
                   "with exit code 1 and the byte where reading stopped.",
                   [unpack] { return RunUnpack(*unpack); });
    unpack_command.add_option("OUT", unpack->container, "the container written by pack")->required();
    unpack_command.add_option("FILE", unpack->file, "the file to write")->required();

    auto const inspect = std::make_shared<std::string>();
    AddCommand(binary, "inspect", "lists the blocks of a container written by pack",
               "Prints for each block its position, its mode, its element count and its stored bytes (a\n"
               "string table entry stores none), then the size of the string table.",
               [inspect] { return RunInspect(*inspect); })
        .add_option("FILE", *inspect, "the container")
        ->required();
}

} // namespace QELTA::Tool
