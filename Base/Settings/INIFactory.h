// INIFactory, INIOption and INIInterface: the settings files of the library, ascii and binary.
//
// An INIFactory is a short-lived table of named options, filled by the class whose settings it
// reads or writes, used for one read, write or log listing and dropped. It owns its options and
// the texts of its extra options; the values the options reach (plain variables or Resources)
// belong to the caller and must outlive the factory. A factory belongs to one thread and takes no
// lock; values reached through a Resource tell their listeners on that thread, in the middle of a
// read, one option at a time. Failures of File::open reach the caller (readAsciiFile wraps them
// in a FileException of the invalid-file kind); bad values are not reported but parsed as well as
// each type can. A file of any bytes reads without harm: what no option claims is kept as text.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Geometry/Vector.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"
#include "Base/Time/TimeSpan.h"

#include <cstdint>
#include <cstdio>

namespace QELTA {

class Scanner;

// One entry of a settings file: knows how to reach a value and how to turn it into text and bytes.
class QELTA_BASE_EXPORT INIOption {
  public:
    INIOption() = default;
    INIOption(INIOption const &) = default;
    INIOption & operator=(INIOption const &) = default;
    virtual ~INIOption();

    // Reads the value from the scanner's current field.
    virtual void read(Scanner & scanner) = 0;
    // Unescapes `text` and stores the value; an empty text changes nothing.
    virtual void fromString(String text) = 0;
    // The value as escaped text.
    virtual String toString() const = 0;
    // The binary record's payload: a 32-bit byte count, then the bytes.
    virtual void writeBinary(std::FILE * file) const = 0;
    // Stores the value from a payload without its count. `bytes` must be followed by zero bytes
    // behind the payload, enough for the payload's fixed size (the reader's buffer has 32).
    virtual void readBinary(char const * bytes) = 0;
    // A new option on the heap with the same target.
    virtual INIOption * clone() const = 0;
};

class QELTA_BASE_EXPORT INIFactory {
  public:
    // An option on a plain value or on a Resource<T>; it owns neither. Defined for char, unsigned
    // int, bool, File, String, Time, TimeSpan, UUID, Vector<64, bool>, RGBColor (declared in
    // ColorOptions.h) and KeyEvent (declared in KeyEvent.h). Stores through a Resource compare
    // first and tell the listeners only of a change; stores into a plain value assign.
    template <class T>
    class QELTA_BASE_EXPORT INIObject : public INIOption {
      public:
        explicit INIObject(T * value) noexcept : resource_(nullptr), value_(value) {}
        explicit INIObject(Resource<T> * resource) noexcept : resource_(resource), value_(nullptr) {}
        ~INIObject() override;

        void read(Scanner & scanner) override;
        void fromString(String text) override;
        String toString() const override;
        void writeBinary(std::FILE * file) const override;
        void readBinary(char const * bytes) override;
        INIOption * clone() const override;

      private:
        T const & current() const noexcept { return resource_ != nullptr ? resource_->value() : *value_; }
        void store(T && value);

        Resource<T> * resource_;
        T * value_;
    };

    // The byte payloads of the binary form are held in a buffer of this size; a record of this
    // size or more is outside the format and is skipped.
    static constexpr unsigned int binary_payload_limit = 1024;

    INIFactory() = default;
    // Takes the tables, the delimiter, the comment mark and the order flag; hash labels are off.
    INIFactory(INIFactory && other) noexcept;
    INIFactory(INIFactory const &) = delete;
    INIFactory & operator=(INIFactory const &) = delete;
    // Deletes this factory's options, then takes the other's as the move constructor does.
    INIFactory & operator=(INIFactory && other) noexcept;
    // Deletes the options and the extra texts; the values they reach are untouched.
    virtual ~INIFactory();

    // Takes ownership of `option`. An option already under `label` gives way but is not deleted
    // until the factory is: a caller may still hold it.
    void addINIOption(StringView const & label, INIOption * option);
    // An extra option: a label no typed option claims, with its text. An existing extra keeps its
    // text unless `replace` is set; false then and nothing changes.
    bool addManagedOption(StringView const & label, StringView const & value, bool replace);
    bool hasOption(StringView const & label) const;
    bool hasOption(std::uint64_t hash) const;
    // The plain text of an extra option, else the escaped text of a typed one, else `default_value`.
    String getOption(StringView const & label, StringView const & default_value) const;
    Dictionary<String, String> extraOptions() const;
    Dictionary<String, String *> const & extraOptionsRef() const noexcept { return extra_options_; }
    // Deletes every option and extra text; the order list is kept and its labels are skipped by the
    // writer when no option bears them again.
    void clear();

    // Governs writing only; the reader always cuts at '='.
    void setDelimiter(char delimiter) noexcept { delimiter_ = delimiter; }
    char delimiter() const noexcept { return delimiter_; }
    // Kept and copied, but read by nobody: comment lines are those beginning with ';'.
    void setComment(char comment) noexcept { comment_ = comment; }
    char comment() const noexcept { return comment_; }
    // Writes the options in the order of addition instead of the table's.
    void setPreserveOrder(bool preserve) noexcept { preserve_order_ = preserve; }
    bool preserveOrder() const noexcept { return preserve_order_; }
    // The labels in the order they were added, kept while the order is preserved.
    Buffer<String> const & order() const noexcept { return order_; }
    // Writes each label as the decimal text of its hash (which this reader does not map back).
    void setUseHashLabels(bool use) noexcept { use_hash_labels_ = use; }

    // Reads "label=value" lines from the scanner (see INIFactory.cpp for the rules).
    void read(Scanner & scanner);
    // Opens the file when it is closed, reads it and closes it again; any Exception becomes a
    // FileException of the invalid-file kind carrying its text.
    void readAsciiFile(File & file);
    // The binary twin: records keyed by label hash. Unknown hashes, records of
    // binary_payload_limit bytes or more and a file cut short are passed over quietly.
    void readBinaryFile(File & file);
    // Writes through a temporary file that replaces the target only once it is complete and on
    // disk, when the file is not open already; ";end_file" closes it on request.
    void writeToAsciiFile(File & file, bool add_end_mark);
    void writeToBinaryFile(File & file);
    // The title at level 2, then "  label = text" for each option at `level`.
    void writeToLog(StringView const & title, LogPtr & log, unsigned char level) const;

    // The escapes of values: backslash, 0x08, 0x0C, line feed, tab and '=' become "\\", "\b",
    // "\f", "\n", "\t" and "\e". A carriage return is not escaped and reads back as a backslash,
    // deliberately: it serves as the placeholder of "\\" while reading.
    static void ConvertToINIString(String & text);
    static void ConvertFromINIString(String & text);

    // The hash of a label, the only identity of an option in a binary file.
    static std::uint64_t LabelHash(StringView const & label) noexcept { return label.hash(); }

  private:
    // Label hashes are text hashes already: used as they are, with the byte hash's secret form
    // for keys chosen to collide.
    struct LabelHashKey {
        std::uint64_t operator()(std::uint64_t hash) const noexcept { return hash; }
        std::uint64_t secret(std::uint64_t hash) const noexcept { return DictionaryHash<std::uint64_t>().secret(hash); }
    };
    using HashTable = Dictionary<std::uint64_t, INIOption *, LabelHashKey>;

    // An option in the order of addition, with its label kept in the label store.
    struct Added {
        StringView label;
        INIOption * option;
    };

    // A copy of `label` in blocks that never move, so that the tables can key by views into them.
    StringView storeLabel(StringView const & label);
    void freeLabels() noexcept;
    // The tables, caught up with the options added since they were last used. Filling a table
    // only when it is needed, at its final size, makes a factory cheap to fill: an ascii read
    // never builds the hash table, a binary read never the table of labels.
    Dictionary<StringView, INIOption *> const & names() const;
    HashTable const & hashes() const;
    void appendLine(String & out, StringView const & label, INIOption const & option) const;

    // Owns every option ever added, replaced ones included, in the order of addition.
    Buffer<Added> added_;
    Buffer<char *> label_blocks_;
    unsigned int block_used_ = 0;
    unsigned int block_size_ = 0;
    // Label to option, and the label's hash to option: a later option of a label (or of a hash)
    // replaces the earlier one, which stays owned by added_.
    mutable Dictionary<StringView, INIOption *> options_;
    mutable HashTable hash_options_;
    mutable unsigned int names_built_ = 0;
    mutable unsigned int hashes_built_ = 0;
    Dictionary<String, String *> extra_options_;
    Buffer<String> order_;
    char delimiter_ = '=';
    char comment_ = '%';
    bool preserve_order_ = false;
    bool use_hash_labels_ = false;
};

extern template class QELTA_BASE_EXPORT INIFactory::INIObject<char>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<unsigned int>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<bool>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<File>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<String>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<Time>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<TimeSpan>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<UUID>;
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<Vector<64, bool>>;

// A class with settings: it fills a fresh factory with its options on each read, save or log
// listing. Reads prefer the ascii file and fall back on its binary twin (the path with "b"
// appended); saves are always ascii and never carry the end mark. Failures of the Exception family
// become a false result; other exceptions pass.
class QELTA_BASE_EXPORT INIInterface {
  public:
    INIInterface() = default;
    explicit INIInterface(File const & file) : default_ini_file_(file) {}
    INIInterface(INIInterface const & other) : default_ini_file_(other.default_ini_file_) {}
    INIInterface & operator=(INIInterface const & other);
    virtual ~INIInterface();

    virtual void writeToLog(StringView const & title, LogPtr log, unsigned char level);
    // With the name of the settings file as the title.
    virtual void writeToLog(LogPtr log, unsigned char level);
    virtual void getINI(INIFactory & factory) = 0;
    // False when neither the file nor its binary twin exists, or on a failure.
    virtual bool readINIOptions(File & file);
    virtual bool readINIOptions();
    virtual void finishReadingINI(INIFactory & factory);
    virtual void prepareForINI(INIFactory & factory);
    // The flag is not used: saves never write the end mark.
    virtual bool saveINIOptions(File & file, bool flag);
    // False when there is no settings file.
    virtual bool saveINIOptions(bool flag);

    void setDefaultINIFile(File const & file) { default_ini_file_ = file; }
    File const & defaultINIFile() const noexcept { return default_ini_file_; }

  protected:
    File default_ini_file_;
};

} // namespace QELTA
