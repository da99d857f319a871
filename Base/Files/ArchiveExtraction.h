// ArchiveExtraction: the limits that the extraction of an archive keeps to, and what it did.
//
// A plain record that the caller owns and hands to one extraction at a time
// (Compressor::ZLibDecompressFile, TAR::Extract); it has no lock. The extraction sets the counts
// and the list of skipped entries afresh, and stops with its error as soon as an entry would pass
// a limit, before writing that entry.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

struct QELTA_BASE_EXPORT ArchiveExtraction {
    // No entry of more than 16 GiB, and no more than 64 GiB of entry data in all.
    static constexpr unsigned long long default_entry_limit = 16ull << 30;
    static constexpr unsigned long long default_total_limit = 64ull << 30;

    // In: the most bytes that one entry may hold, by what the archive says of it or by what it
    // really holds, and the most entry data that the whole extraction goes through, written or
    // passed over.
    unsigned long long entry_limit = default_entry_limit;
    unsigned long long total_limit = default_total_limit;

    // Out: what was written.
    unsigned long long bytes = 0;
    unsigned int files = 0;
    unsigned int folders = 0;
    unsigned int links = 0;
    // The names of the entries left out because they would have landed outside the target folder
    // or been written through a link, as the archive gives them.
    StringBuffer skipped;
};

} // namespace QELTA
