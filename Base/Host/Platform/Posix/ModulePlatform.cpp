// Dynamic libraries on Linux: dlopen, dlsym and dlclose, and the dependency names of an ELF file
// read from its dynamic section.
#include "Base/Host/Platform/ModulePlatform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace QELTA {
namespace {

constexpr char library_ending[] = ".so";
constexpr char zero_byte_reason[] = "The path holds a zero byte.";
constexpr int open_flags = RTLD_NOW | RTLD_LOCAL;
// How many levels of companions are opened ahead of a library; a cycle ends at the names seen.
constexpr unsigned int max_companion_depth = 8;
constexpr std::uint64_t max_dynamic_entries = 1u << 16;

// The system's form of a library path: '/' for '\'. False for a path that holds a zero byte.
bool ToSystem(StringView const & path, std::string & out) {
    out.assign(path.data() == nullptr ? "" : path.data(), path.size());
    if (out.find('\0') != std::string::npos) {
        return false;
    }
    std::replace(out.begin(), out.end(), '\\', '/');
    return true;
}

// `base + index * stride`, false when it overflows.
bool Offset(std::uint64_t base, std::uint64_t index, std::uint64_t stride, std::uint64_t & out) {
    std::uint64_t step = 0;
    return !__builtin_mul_overflow(index, stride, &step) && !__builtin_add_overflow(base, step, &out);
}

// Bytes of a library file, read at offsets that are checked against its size.
class Source {
  public:
    virtual ~Source() = default;
    virtual std::uint64_t size() const noexcept = 0;
    // False when any of the bytes lies outside the source or can't be read.
    virtual bool read(std::uint64_t offset, void * out, std::size_t count) const noexcept = 0;

  protected:
    bool inside(std::uint64_t offset, std::size_t count) const noexcept {
        return offset <= size() && size() - offset >= count;
    }
};

class MemorySource final : public Source {
  public:
    MemorySource(unsigned char const * bytes, std::size_t size) noexcept : bytes_(bytes), size_(size) {}
    std::uint64_t size() const noexcept override { return size_; }
    bool read(std::uint64_t offset, void * out, std::size_t count) const noexcept override {
        if (!inside(offset, count)) {
            return false;
        }
        if (count != 0) {
            std::memcpy(out, bytes_ + offset, count);
        }
        return true;
    }

  private:
    unsigned char const * bytes_;
    std::size_t size_;
};

class FileSource final : public Source {
  public:
    explicit FileSource(std::string const & path) noexcept {
        descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
            size_ = static_cast<std::uint64_t>(status.st_size);
        }
    }
    FileSource(FileSource const &) = delete;
    FileSource & operator=(FileSource const &) = delete;
    ~FileSource() override {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    std::uint64_t size() const noexcept override { return size_; }
    bool read(std::uint64_t offset, void * out, std::size_t count) const noexcept override {
        if (!inside(offset, count)) {
            return false;
        }
        auto * target = static_cast<unsigned char *>(out);
        while (count != 0) {
            ssize_t const got = pread(descriptor_, target, count, static_cast<off_t>(offset));
            if (got <= 0) {
                return false;
            }
            target += got;
            offset += static_cast<std::uint64_t>(got);
            count -= static_cast<std::size_t>(got);
        }
        return true;
    }

  private:
    int descriptor_ = -1;
    std::uint64_t size_ = 0;
};

// The DT_NEEDED names of one ELF class: the dynamic segment gives the names' offsets and the
// string table's address, which a loadable segment maps back to a file offset.
template <class Header, class ProgramHeader, class Dynamic>
void ReadNeeded(Source const & source, Buffer<String> & names) {
    Header header;
    if (!source.read(0, &header, sizeof header) || header.e_phentsize != sizeof(ProgramHeader)) {
        return;
    }
    std::vector<ProgramHeader> loads;
    ProgramHeader dynamic{};
    bool has_dynamic = false;
    for (unsigned int i = 0; i < header.e_phnum; ++i) {
        ProgramHeader program;
        std::uint64_t at = 0;
        if (!Offset(header.e_phoff, i, sizeof program, at) || !source.read(at, &program, sizeof program)) {
            return;
        }
        if (program.p_type == PT_LOAD) {
            loads.push_back(program);
        } else if (program.p_type == PT_DYNAMIC && !has_dynamic) {
            dynamic = program;
            has_dynamic = true;
        }
    }
    if (!has_dynamic) {
        return;
    }
    std::vector<std::uint64_t> needed;
    std::uint64_t table_address = 0;
    std::uint64_t table_size = 0;
    bool has_table = false;
    std::uint64_t const entries = std::min<std::uint64_t>(dynamic.p_filesz / sizeof(Dynamic), max_dynamic_entries);
    for (std::uint64_t i = 0; i < entries; ++i) {
        Dynamic entry;
        std::uint64_t at = 0;
        if (!Offset(dynamic.p_offset, i, sizeof entry, at) || !source.read(at, &entry, sizeof entry) ||
            entry.d_tag == DT_NULL) {
            break;
        }
        if (entry.d_tag == DT_NEEDED && needed.size() < ModulePlatform::max_dependencies) {
            needed.push_back(entry.d_un.d_val);
        } else if (entry.d_tag == DT_STRTAB) {
            table_address = entry.d_un.d_ptr;
            has_table = true;
        } else if (entry.d_tag == DT_STRSZ) {
            table_size = entry.d_un.d_val;
        }
    }
    if (!has_table) {
        return;
    }
    std::uint64_t table_offset = 0;
    bool mapped = false;
    for (ProgramHeader const & load : loads) {
        if (table_address >= load.p_vaddr && table_address - load.p_vaddr < load.p_filesz) {
            mapped = !__builtin_add_overflow(load.p_offset, table_address - load.p_vaddr, &table_offset);
            break;
        }
    }
    if (!mapped) {
        return;
    }
    std::string name;
    for (std::uint64_t const index : needed) {
        std::uint64_t at = 0;
        if (index >= table_size || __builtin_add_overflow(table_offset, index, &at) || at >= source.size()) {
            continue;
        }
        std::uint64_t const room =
            std::min({table_size - index, source.size() - at, std::uint64_t{ModulePlatform::max_dependency_name} + 1});
        name.resize(static_cast<std::size_t>(room));
        if (!source.read(at, name.data(), name.size())) {
            continue;
        }
        std::size_t const end = name.find('\0');
        if (end == std::string::npos || end == 0) {
            continue;
        }
        names.add(String(StringView(name.data(), static_cast<unsigned int>(end))));
    }
}

Buffer<String> ListNeeded(Source const & source) {
    Buffer<String> names;
    unsigned char ident[EI_NIDENT];
    if (!source.read(0, ident, sizeof ident) || std::memcmp(ident, ELFMAG, SELFMAG) != 0) {
        return names;
    }
    bool const native_order = (ident[EI_DATA] == ELFDATA2LSB) == (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
    if (!native_order || (ident[EI_DATA] != ELFDATA2LSB && ident[EI_DATA] != ELFDATA2MSB)) {
        return names;
    }
    if (ident[EI_CLASS] == ELFCLASS64) {
        ReadNeeded<Elf64_Ehdr, Elf64_Phdr, Elf64_Dyn>(source, names);
    } else if (ident[EI_CLASS] == ELFCLASS32) {
        ReadNeeded<Elf32_Ehdr, Elf32_Phdr, Elf32_Dyn>(source, names);
    }
    return names;
}

bool IsRegularFile(std::string const & path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Opens, ahead of the library at `path`, each companion it names that lies in one of `folders`,
// the companions' own first. The handles go to `opened`; `seen` holds the names tried.
void OpenCompanions(std::string const & path, std::vector<std::string> const & folders, unsigned int depth,
                    std::vector<std::string> & seen, std::vector<void *> & opened) {
    if (depth >= max_companion_depth) {
        return;
    }
    for (String const & dependency : ListNeeded(FileSource(path))) {
        std::string const name(dependency.view());
        if (name.find('/') != std::string::npos || std::find(seen.begin(), seen.end(), name) != seen.end()) {
            continue;
        }
        seen.push_back(name);
        for (std::string const & folder : folders) {
            std::string const candidate = folder + name;
            if (!IsRegularFile(candidate)) {
                continue;
            }
            OpenCompanions(candidate, folders, depth + 1, seen, opened);
            if (void * handle = dlopen(candidate.c_str(), open_flags)) {
                opened.push_back(handle);
                break;
            }
        }
    }
}

} // namespace

StringView ModulePlatform::LibraryEnding() noexcept {
    return StringView(library_ending);
}

void * ModulePlatform::OpenLibrary(StringView const & path, Buffer<String> const & search_folders, String & reason) {
    reason = String();
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        reason = String(zero_byte_reason);
        return nullptr;
    }
    std::vector<std::string> folders;
    for (String const & folder : search_folders) {
        std::string system_folder;
        if (ToSystem(folder.view(), system_folder) && !system_folder.empty()) {
            if (system_folder.back() != '/') {
                system_folder.push_back('/');
            }
            folders.push_back(system_folder);
        }
    }
    std::vector<std::string> seen;
    std::vector<void *> companions;
    if (!folders.empty() && system.find('/') != std::string::npos) {
        OpenCompanions(system, folders, 0, seen, companions);
    }
    dlerror();
    void * handle = dlopen(system.c_str(), open_flags);
    if (handle == nullptr) {
        char const * text = dlerror();
        reason = String(text != nullptr ? text : "");
    }
    // A library that loaded holds its companions itself; one that didn't lets them go.
    for (auto it = companions.rbegin(); it != companions.rend(); ++it) {
        dlclose(*it);
    }
    return handle;
}

void * ModulePlatform::FindSymbol(void * library, StringView const & symbol) noexcept {
    if (library == nullptr || symbol.isEmpty()) {
        return nullptr;
    }
    try {
        std::string const name(symbol);
        if (name.find('\0') != std::string::npos) {
            return nullptr;
        }
        return dlsym(library, name.c_str());
    } catch (...) {
        return nullptr;
    }
}

void ModulePlatform::CloseLibrary(void * library) noexcept {
    if (library != nullptr) {
        dlclose(library);
    }
}

Buffer<String> ModulePlatform::ListDirectDependencies(StringView const & path) {
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        return Buffer<String>();
    }
    return ListNeeded(FileSource(system));
}

Buffer<String> ModulePlatform::ListDirectDependencies(unsigned char const * image, std::size_t size) {
    if (image == nullptr) {
        return Buffer<String>();
    }
    return ListNeeded(MemorySource(image, size));
}

} // namespace QELTA
