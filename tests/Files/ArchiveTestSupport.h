// Helpers of the archive tests: tar records made by hand from the ustar layout, snapshots of
// folder trees, and the system's own archivers run as commands.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace QELTA::Testing {

// Runs a shell command quietly; its exit status.
inline int RunCommand(std::string const & command) {
    return std::system((command + " >/dev/null 2>&1").c_str());
}

// What a tree holds: relative path -> "file:<content>", "folder" or "link:<text>". Links are not
// followed.
inline std::map<std::string, std::string> Snapshot(std::string const & root) {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> tree;
    if (!fs::exists(root)) {
        return tree;
    }
    for (fs::directory_entry const & entry : fs::recursive_directory_iterator(root)) {
        std::string const name = entry.path().lexically_relative(root).string();
        if (entry.is_symlink()) {
            tree[name] = "link:" + fs::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            tree[name] = "folder";
        } else {
            std::ifstream in(entry.path(), std::ios::binary);
            tree[name] = "file:" + std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        }
    }
    return tree;
}

// One ustar header record with a correct checksum; `name` longer than 100 bytes is cut, as a
// hostile writer would leave it.
inline std::string TarHeader(std::string const & name, char type, unsigned long long size,
                             std::string const & link = "", unsigned int mode = 0644, unsigned long long mtime = 0) {
    std::string record(512, '\0');
    record.replace(0, std::min<std::size_t>(name.size(), 100), name.substr(0, 100));
    std::snprintf(&record[100], 8, "%07o", mode);
    std::snprintf(&record[108], 8, "%07o", 0u);
    std::snprintf(&record[116], 8, "%07o", 0u);
    std::snprintf(&record[124], 12, "%011llo", size);
    std::snprintf(&record[136], 12, "%011llo", mtime);
    record[156] = type;
    record.replace(157, std::min<std::size_t>(link.size(), 100), link.substr(0, 100));
    record.replace(257, 6, std::string("ustar\0", 6));
    record.replace(263, 2, "00");
    record.replace(148, 8, std::string(8, ' '));
    unsigned int sum = 0;
    for (char c : record) {
        sum += static_cast<unsigned char>(c);
    }
    std::snprintf(&record[148], 8, "%06o", sum);
    record[155] = ' ';
    return record;
}

// A header, then `data` padded to whole records.
inline std::string TarEntry(std::string const & name, char type, std::string const & data,
                            std::string const & link = "") {
    std::string entry = TarHeader(name, type, data.size(), link) + data;
    entry.append((512 - data.size() % 512) % 512, '\0');
    return entry;
}

// A pax extended header record carrying one "key=value".
inline std::string PaxEntry(std::string const & key, std::string const & value) {
    std::string body = " " + key + "=" + value + "\n";
    std::size_t length = body.size() + 1;
    while (std::to_string(length).size() + body.size() != length) {
        ++length;
    }
    return TarEntry("PaxHeader", 'x', std::to_string(length) + body);
}

inline std::string TarEnd() {
    return std::string(1024, '\0');
}

} // namespace QELTA::Testing
