// Fuzz target: the readers of the machine's description. The bytes become every text file the
// readers take in (os-release, the kernel release, cpuinfo, meminfo, the process status and a
// display card's PCI files) under a folder that stands for "/". Nothing may read outside its
// data, loop forever, overflow or raise.
#include "Base/Host/SystemInformation.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace {

using QELTA::Fuzzing::WriteFile;

// The folder that stands for "/", with the folders the files go in.
struct Root {
    QELTA::Fuzzing::ScratchFolder folder{"system"};
    Root() {
        for (char const * sub :
             {"/etc", "/proc/sys/kernel", "/proc/self", "/sys/class/dmi/id", "/sys/bus/pci/devices/0000:01:00.0"}) {
            std::filesystem::create_directories(folder.path() + sub);
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    using namespace QELTA;
    static Root const s_root;
    std::string const & root = s_root.folder.path();
    for (char const * file :
         {"/etc/os-release", "/proc/sys/kernel/osrelease", "/proc/cpuinfo", "/proc/meminfo", "/proc/self/status",
          "/sys/class/dmi/id/sys_vendor", "/sys/bus/pci/devices/0000:01:00.0/vendor",
          "/sys/bus/pci/devices/0000:01:00.0/resource"}) {
        WriteFile(root + file, data, size);
    }
    static std::uint8_t const display[] = "0x030000\n";
    WriteFile(root + "/sys/bus/pci/devices/0000:01:00.0/class", display, sizeof(display) - 1);
    File const folder(root.c_str());
    OSInformation const os = SystemInformation::ReadOSInformation(folder);
    HardwareInformation const hardware = SystemInformation::ReadHardwareInformation(folder);
    if (hardware.video_cards.size() != 1 || os.versionText().isEmpty()) {
        __builtin_trap();
    }
    return 0;
}
