// OSInformation, HardwareInformation and VideoCardInformation: what is known about the machine,
// for logs and crash reports (ApplicationResource::GetOSInformation and its companions).
//
// Plain values. They are read once per process from the system's own files and kept; a file that
// is missing or can't be read leaves its fields at their defaults ("Not set" for texts that name
// the machine), never a failure. SetSystemRootForTesting points the readers at a folder that
// stands for "/", so that a test describes a machine of its own making.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"

#include <cstdint>

namespace QELTA {

// The text of a value the system didn't give.
inline constexpr char system_value_not_set[] = "Not set";

struct QELTA_BASE_EXPORT OSInformation {
    // The distribution's name ("Debian GNU/Linux 12 (bookworm)"), else the kernel's.
    String os_name = String(system_value_not_set);
    String service_pack;
    // The kernel's release: "6.1.0" gives 6, 1 and 0.
    unsigned int major_version = 0;
    unsigned int minor_version = 0;
    unsigned int build_number = 0;
    bool is_workstation = true;

    // "major.minor.build".
    String versionText() const;
};

struct QELTA_BASE_EXPORT VideoCardInformation {
    String name;
    String device_id;
    String driver_version;
    String video_processor;
    String video_mode_description;
    String adapter_dac_type;
    String video_architecture;
    String status;
    // 1 "NVIDIA", 2 "AMD", 3 "Intel", 4 "GeForce", 5 "Titan", 6 "Quadpro", by a search of the name
    // without case, in that order; 0 for none.
    unsigned char card_class = 0;
    // Bytes; all bits set when unknown.
    std::uint64_t video_memory = ~std::uint64_t(0);

    // The status text of a device's problem code: 0 is working properly, and an unlisted code
    // gives "Unknown Config Manager Error Code: " and the number.
    static String StatusText(unsigned int code);
    // The name's card class as above.
    static unsigned char CardClass(StringView const & name);
    // The text of an architecture number; empty for an unlisted one.
    static String ArchitectureText(unsigned int code);
};

struct QELTA_BASE_EXPORT HardwareInformation {
    String manufacturer = String(system_value_not_set);
    String model = String(system_value_not_set);
    String oem_id = String(system_value_not_set);
    unsigned int page_size = 0;
    // The processors this process may run on, as a hexadecimal mask.
    String active_processor_mask = String(system_value_not_set);
    unsigned int number_of_processors = 0;
    String processor_type = String(system_value_not_set);
    // Kilobytes, as the system reports its memory.
    std::uint64_t installed_memory = 0;
    Buffer<VideoCardInformation> video_cards;
};

// Reads the machine's description afresh from the folder standing for "/" (empty for the real
// one). ApplicationResource keeps what the first call with the real root gives.
class QELTA_BASE_EXPORT SystemInformation {
  public:
    SystemInformation() = delete;

    static OSInformation ReadOSInformation(File const & root);
    static HardwareInformation ReadHardwareInformation(File const & root);
    static Buffer<VideoCardInformation> ReadVideoCards(File const & root);

    // The folder ApplicationResource's readers use from now on in place of "/"; an empty File
    // goes back to the real one. Forgets what was read before.
    static void SetSystemRootForTesting(File const & root);
    static File SystemRoot();
};

} // namespace QELTA
