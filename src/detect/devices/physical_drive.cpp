#include "detect/devices/physical_drive.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "diag/log.h"
#include "diag/scope_trace.h"
#include "os/services.h"
#include "os/storage_control.h"
#include "os/system_info.h"

namespace rigel {
namespace {

namespace storage = os::storage;

// The identify command goes without its one-byte data buffer; the result leaves out the last
// byte of its buffer in the same way.
constexpr std::size_t kIdentifyCommandSent = storage::kCommandInSize - 1;
constexpr std::size_t kIdentifyResultRoom = storage::kCommandOutSize - 1;

std::wstring AnsiText(const std::string& bytes) {
    std::wstring text;
    if (!bytes.empty()) os::Current().systemInfo->AnsiToWide(bytes, text);
    return text;
}

std::wstring TrimmedAnsiText(const std::string& bytes) {
    return boost::algorithm::trim_copy(AnsiText(bytes));
}

bool ContainsIntel(const std::wstring& text) {
    return boost::algorithm::to_upper_copy(text).find(L"INTEL") != std::wstring::npos;
}

bool BeginsWithSsd(const std::wstring& model) {
    return model.size() > 2 && model.compare(0, 3, L"SSD") == 0;
}

}  // namespace

PhysicalDrive::PhysicalDrive(StorageDevice& device, PhysicalDriveInfo& info)
    : device_(device), info_(info) {}

bool PhysicalDrive::GetPhysicalDeviceInfo(const std::wstring& path, std::uint32_t driveNumber,
                                          PhysicalDriveInfo& info) {
    ScopeTrace trace(L"rigel::PhysicalDrive::GetPhysicalDeviceInfo");
    info.model.clear();
    info.firmware.clear();
    info.isIntel = info.isDiskDevice = info.isSsd = false;
    info.busType = storage::kBusTypeUnknown;
    info.driveNumber = driveNumber;

    StorageDevice device;
    std::uint32_t error = 0;
    if (!device.Open(path, error)) {
        Log::Instance().Line(Log::kTrace, L"Failed to open drive: ", driveNumber, L" with error: ",
                             error);
        return false;
    }
    PhysicalDrive drive(device, info);
    drive.ReadIdentifyData();
    drive.ReadMediaTypes();
    drive.ReadDeviceDescriptor();
    info.isIntel = ContainsIntel(info.model) || ContainsIntel(info.vendor);
    Log& log = Log::Instance();
    log.Line(Log::kTrace, L"Model: ", info.model);
    log.Line(Log::kTrace, L"Firmware: ", info.firmware);
    log.Line(Log::kTrace, L"Vendor: ", info.vendor);
    drive.ReadAdapterDescriptor();
    SplitVendorSpill(info);
    info.isSsd = BeginsWithSsd(info.model);
    return true;
}

void PhysicalDrive::SplitVendorSpill(PhysicalDriveInfo& info) {
    if (info.vendor.empty() || info.vendor.find(L' ') == std::wstring::npos) return;
    const std::wstring joined = info.vendor + info.model;
    const std::size_t blank = joined.find(L' ');
    if (blank == std::wstring::npos || blank == 0) return;
    info.vendor = joined.substr(0, blank);
    info.model = joined.substr(blank + 1);
}

void PhysicalDrive::ReadIdentifyData() {
    Log& log = Log::Instance();
    const Bytes command = StorageReplies::IdentifyCommand(info_.driveNumber);
    Bytes result = StorageReplies::IdentifyResultBuffer();
    log.Line(Log::kTrace, L"Looking for Drive: ", info_.driveNumber);
    std::uint32_t error = 0;
    if (!device_.Query(storage::kSmartRcvDriveData, command, kIdentifyCommandSent, result,
                       kIdentifyResultRoom, error)) {
        log.Line(Log::kWarning, L"Error with DeviceIoControl: ", error);
        return;
    }
    log.Line(Log::kTrace, L"Got Drive: ", info_.driveNumber);
    const StorageReplies::Identify identify = StorageReplies::ParseIdentify(result);
    info_.model = AnsiText(identify.model);
    info_.firmware = AnsiText(identify.firmware);
    log.Line(Log::kTrace, L"firmwareVersion: ", info_.firmware);
    log.Line(Log::kTrace, L"model: ", info_.model);
}

void PhysicalDrive::ReadMediaTypes() {
    Bytes reply(storage::kMediaTypesBufferSize, 0);
    std::uint32_t error = 0;
    if (device_.Query(storage::kGetMediaTypesEx, reply, error) &&
        StorageReplies::NamesDeviceType(reply, storage::kFileDeviceDisk)) {
        info_.isDiskDevice = true;
    }
}

void PhysicalDrive::ReadDeviceDescriptor() {
    Bytes reply;
    if (!QueryDescriptor(storage::kStorageDeviceProperty, storage::kDeviceDescriptorSize, reply)) {
        return;
    }
    const StorageReplies::DeviceDescriptor descriptor =
        StorageReplies::ParseDeviceDescriptor(reply);
    info_.busType = descriptor.busType;
    if (descriptor.vendor) info_.vendor = TrimmedAnsiText(*descriptor.vendor);
    if (descriptor.product) info_.model = TrimmedAnsiText(*descriptor.product);
    if (descriptor.revision) info_.firmware = TrimmedAnsiText(*descriptor.revision);
}

void PhysicalDrive::ReadAdapterDescriptor() {
    Bytes reply;
    if (QueryDescriptor(storage::kStorageAdapterProperty, storage::kAdapterDescriptorSize, reply)) {
        info_.busType = StorageReplies::ParseAdapterBusType(reply);
    }
}

bool PhysicalDrive::QueryDescriptor(std::uint32_t propertyId, std::uint32_t defaultSize,
                                    Bytes& reply) {
    const Bytes query = StorageReplies::PropertyQuery(propertyId);
    Bytes header(storage::kDescriptorHeaderSize, 0);
    std::uint32_t error = 0;
    const bool headerAnswered =
        device_.Query(storage::kQueryProperty, query, query.size(), header, header.size(), error);
    const std::uint32_t size =
        StorageReplies::DescriptorBufferSize(headerAnswered, header, defaultSize);
    reply = StorageReplies::DescriptorBuffer(size, defaultSize);
    return device_.Query(storage::kQueryProperty, query, query.size(), reply, size, error);
}

}  // namespace rigel
