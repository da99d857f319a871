// The machine's description from /etc/os-release, /proc, /sys/class/dmi/id and /sys/bus/pci/devices.
#include "Base/Host/SystemInformation.h"

#include "Base/Host/Internal/SystemText.h"
#include "Base/Host/Platform/SystemInfoPlatform.h"
#include "Base/Text/StringStream.h"

#include <mutex>

namespace QELTA {
namespace {

using namespace Internal;

constexpr unsigned int file_limit = 1u << 20;
constexpr char os_release_file[] = "etc\\os-release";
constexpr char os_release_fallback[] = "usr\\lib\\os-release";
constexpr char kernel_name_file[] = "proc\\sys\\kernel\\ostype";
constexpr char kernel_release_file[] = "proc\\sys\\kernel\\osrelease";
constexpr char cpu_file[] = "proc\\cpuinfo";
constexpr char memory_file[] = "proc\\meminfo";
constexpr char status_file[] = "proc\\self\\status";
constexpr char dmi_folder[] = "sys\\class\\dmi\\id\\";
constexpr char pci_folder[] = "sys\\bus\\pci\\devices\\";
constexpr char pretty_name_key[] = "PRETTY_NAME";
constexpr char name_key[] = "NAME";
constexpr char processor_key[] = "processor";
constexpr char model_name_key[] = "model name";
constexpr char memory_key[] = "MemTotal";
constexpr char processor_mask_key[] = "Cpus_allowed";
constexpr char vendor_file[] = "sys_vendor";
constexpr char product_file[] = "product_name";
constexpr char board_vendor_file[] = "board_vendor";
constexpr char display_class_prefix[] = "0x03";
constexpr char unknown_status_text[] = "Unknown Config Manager Error Code: ";
// The problem code of a device without a driver: its drivers are not installed.
constexpr unsigned int no_driver_code = 28;

struct CodeText {
    unsigned int code;
    char const * text;
};

constexpr CodeText status_texts[] = {
    {0, "This device is working properly"},
    {1, "This device is not configured correctly"},
    {2, "Windows cannot load the driver for this device."},
    {3, "The driver for this device might be corrupted, or your system may be running low on memory or other "
        "resources."},
    {4, "This device is not working properly. One of its drivers or your registry might be corrupted."},
    {5, "The driver for this device needs a resource that Windows cannot manage."},
    {6, "The boot configuration for this device conflicts with other devices."},
    {7, "Cannot filter."},
    {8, "The driver loader for the device is missing"},
    {11, "This device failed."},
    {12, "This device cannot find enough free resources that it can use."},
    {14, "This device cannot work properly until you restart your computer."},
    {18, "Reinstall the drivers for this device."},
    {20, "Your registry might be corrupted."},
};

constexpr CodeText architecture_texts[] = {
    {5, "VGA"}, {6, "SVGA"}, {7, "MDA"}, {10, "8514A"}, {11, "XGA"}, {12, "Linear Frame Buffer"},
};

// The names searched for in a card's name, in the order of their class numbers from 1.
constexpr char const * card_names[] = {"NVIDIA", "AMD", "Intel", "GeForce", "Titan", "Quadpro"};

struct VendorName {
    std::uint64_t id;
    char const * name;
};

constexpr VendorName vendor_names[] = {{0x10de, "NVIDIA"}, {0x1002, "AMD"}, {0x8086, "Intel"}};

String Path(File const & root, StringView const & relative) {
    String path(root.view());
    if (path.isEmpty() || !File::IsPathSep(path.view().last())) {
        path.append('\\');
    }
    path.append(relative);
    return path;
}

String Read(File const & root, StringView const & relative) {
    return SystemInfoPlatform::ReadSmallFile(Path(root, relative).view(), file_limit);
}

// The first line of a one-value file, trimmed; "Not set" when it is missing or empty.
String OneValue(File const & root, StringView const & relative) {
    String const text = Read(root, relative);
    unsigned int end = text.indexOf('\n');
    String value(text.substr(0, end == String::not_found ? text.size() : end));
    value.trimWhiteSpace();
    return value.isEmpty() ? String(system_value_not_set) : value;
}

String NumberText(std::uint64_t value) {
    StringAllocatingView text;
    StringStream<unsigned long long>::toString(static_cast<unsigned long long>(value), text);
    return String(text.view());
}

struct Cache {
    std::mutex mutex;
    File root;
    bool has_os = false;
    bool has_hardware = false;
    OSInformation os;
    HardwareInformation hardware;
};

Cache & TheCache() {
    static Cache s_cache;
    return s_cache;
}

} // namespace

String OSInformation::versionText() const {
    return NumberText(major_version) + '.' + NumberText(minor_version).view() + '.' + NumberText(build_number).view();
}

String VideoCardInformation::StatusText(unsigned int code) {
    for (CodeText const & row : status_texts) {
        if (row.code == code) {
            return String(row.text);
        }
    }
    return String(unknown_status_text) + NumberText(code).view();
}

unsigned char VideoCardInformation::CardClass(StringView const & name) {
    for (unsigned int i = 0; i < sizeof(card_names) / sizeof(card_names[0]); ++i) {
        if (name.indexOf(StringView(card_names[i]), true) != StringView::not_found) {
            return static_cast<unsigned char>(i + 1);
        }
    }
    return 0;
}

String VideoCardInformation::ArchitectureText(unsigned int code) {
    for (CodeText const & row : architecture_texts) {
        if (row.code == code) {
            return String(row.text);
        }
    }
    return String();
}

OSInformation SystemInformation::ReadOSInformation(File const & root) {
    OSInformation info;
    String release = Read(root, os_release_file);
    if (release.isEmpty()) {
        release = Read(root, os_release_fallback);
    }
    String name = AssignmentValue(release.view(), pretty_name_key);
    if (name.isEmpty()) {
        name = AssignmentValue(release.view(), name_key);
    }
    if (name.isEmpty()) {
        name = OneValue(root, kernel_name_file);
    }
    info.os_name = name;
    unsigned int parts[3];
    VersionNumbers(Read(root, kernel_release_file).view(), parts);
    info.major_version = parts[0];
    info.minor_version = parts[1];
    info.build_number = parts[2];
    return info;
}

HardwareInformation SystemInformation::ReadHardwareInformation(File const & root) {
    HardwareInformation info;
    String const dmi(dmi_folder);
    info.manufacturer = OneValue(root, (dmi + StringView(vendor_file)).view());
    info.model = OneValue(root, (dmi + StringView(product_file)).view());
    info.oem_id = OneValue(root, (dmi + StringView(board_vendor_file)).view());
    info.page_size = SystemInfoPlatform::PageSize();
    String const cpu = Read(root, cpu_file);
    info.number_of_processors = CountFields(cpu.view(), processor_key, ':');
    if (info.number_of_processors == 0) {
        info.number_of_processors = SystemInfoPlatform::OnlineProcessors();
    }
    String processor = FieldValue(cpu.view(), model_name_key, ':');
    if (processor.isEmpty()) {
        processor = SystemInfoPlatform::MachineArchitecture();
    }
    if (!processor.isEmpty()) {
        info.processor_type = processor;
    }
    String const mask = FieldValue(Read(root, status_file).view(), processor_mask_key, ':');
    if (!mask.isEmpty()) {
        info.active_processor_mask = mask;
    }
    info.installed_memory = LeadingNumber(FieldValue(Read(root, memory_file).view(), memory_key, ':').view());
    info.video_cards = ReadVideoCards(root);
    return info;
}

Buffer<VideoCardInformation> SystemInformation::ReadVideoCards(File const & root) {
    Buffer<VideoCardInformation> cards;
    Buffer<String> slots = SystemInfoPlatform::FolderNames(Path(root, pci_folder).view());
    slots.sort([](String const & a, String const & b) { return a.view() < b.view(); });
    for (String const & slot : slots) {
        String const folder = String(pci_folder) + slot.view() + '\\';
        if (!Read(root, (folder + StringView("class")).view()).beginsWith(StringView(display_class_prefix))) {
            continue;
        }
        VideoCardInformation card;
        std::uint64_t const vendor = HexNumber(Read(root, (folder + StringView("vendor")).view()).view());
        String const device = OneValue(root, (folder + StringView("device")).view());
        String vendor_text;
        for (VendorName const & row : vendor_names) {
            if (row.id == vendor) {
                vendor_text = String(row.name);
            }
        }
        if (vendor_text.isEmpty()) {
            vendor_text = String("0x") + NumberText(vendor).view();
        }
        String label = OneValue(root, (folder + StringView("label")).view());
        card.name = label.view() != StringView(system_value_not_set) ? label : vendor_text + ' ' + device.view();
        card.device_id = slot;
        String const driver =
            SystemInfoPlatform::LinkTargetName(Path(root, (folder + StringView("driver")).view()).view());
        card.driver_version = driver;
        if (!driver.isEmpty()) {
            String const version =
                OneValue(root, (String("sys\\module\\") + driver.view() + StringView("\\version")).view());
            if (version.view() != StringView(system_value_not_set)) {
                card.driver_version = driver + ' ' + version.view();
            }
        }
        card.status = VideoCardInformation::StatusText(driver.isEmpty() ? no_driver_code : 0);
        card.card_class = VideoCardInformation::CardClass(card.name.view());
        std::uint64_t const memory =
            LargestPrefetchableRegion(Read(root, (folder + StringView("resource")).view()).view());
        if (memory != 0) {
            card.video_memory = memory;
        }
        cards.add(std::move(card));
    }
    return cards;
}

void SystemInformation::SetSystemRootForTesting(File const & root) {
    Cache & cache = TheCache();
    std::lock_guard<std::mutex> guard(cache.mutex);
    cache.root = root;
    cache.has_os = cache.has_hardware = false;
}

File SystemInformation::SystemRoot() {
    Cache & cache = TheCache();
    std::lock_guard<std::mutex> guard(cache.mutex);
    return cache.root;
}

namespace Internal {

OSInformation CachedOSInformation() {
    Cache & cache = TheCache();
    std::lock_guard<std::mutex> guard(cache.mutex);
    if (!cache.has_os) {
        cache.os = SystemInformation::ReadOSInformation(cache.root);
        cache.has_os = true;
    }
    return cache.os;
}

HardwareInformation CachedHardwareInformation() {
    Cache & cache = TheCache();
    std::lock_guard<std::mutex> guard(cache.mutex);
    if (!cache.has_hardware) {
        cache.hardware = SystemInformation::ReadHardwareInformation(cache.root);
        cache.has_hardware = true;
    }
    return cache.hardware;
}

} // namespace Internal

} // namespace QELTA
