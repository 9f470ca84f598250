// SPDX-License-Identifier: MIT

#include "platform/MachineIdentity.h"

#include "platform/GrowingBuffer.h"

#include <QUuid>

#include <array>
#include <optional>
#include <vector>

// The headers need this order: winsock2.h before windows.h, the others after it.
// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <iphlpapi.h>
#include <objbase.h>
#include <winioctl.h>
// clang-format on

namespace
{
/// The root of the system's volume, as "C:\"; empty when the system does not give it.
QByteArray gSystemRoot()
{
    constexpr int rootLength = 3;

    std::array<char, MAX_PATH> directory{};
    GetSystemDirectoryA(directory.data(), static_cast<UINT>(directory.size()));
    return QByteArray(directory.data()).left(rootLength);
}

/// A volume or a disk, opened for control codes only. The right to read it is not requested: that
/// would take an administrator.
class Device
{
public:
    explicit Device(const QByteArray &name)
        : m_handle(CreateFileA(name.constData(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               OPEN_EXISTING, 0, nullptr))
    {
    }
    ~Device()
    {
        if (m_handle != INVALID_HANDLE_VALUE) {
            CloseHandle(m_handle);
        }
    }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    /// Fills the buffer with the device's answer; an answer that is too long is cut.
    /// @return the bytes of the answer in the buffer; 0 when there is none.
    template<typename Question>
    DWORD Ask(DWORD code, Question *question, DWORD questionSize, void *answer, DWORD size) const
    {
        DWORD answerSize = 0;
        if (m_handle == INVALID_HANDLE_VALUE ||
            (DeviceIoControl(m_handle, code, question, questionSize, answer, size, &answerSize,
                             nullptr) == FALSE &&
             GetLastError() != ERROR_MORE_DATA)) {
            return 0;
        }
        return answerSize;
    }

private:
    HANDLE m_handle;
};

/// The number of the disk that holds the volume, of the first one when it spans several.
std::optional<DWORD> gDiskNumber(const Device &volume)
{
    VOLUME_DISK_EXTENTS extents{};
    if (volume.Ask<void>(IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS, nullptr, 0, &extents,
                         sizeof(extents)) == sizeof(extents) &&
        extents.NumberOfDiskExtents > 0) {
        return extents.Extents[0].DiskNumber;
    }
    STORAGE_DEVICE_NUMBER number{};
    if (volume.Ask<void>(IOCTL_STORAGE_GET_DEVICE_NUMBER, nullptr, 0, &number, sizeof(number)) ==
        sizeof(number)) {
        return number.DeviceNumber;
    }
    return std::nullopt;
}

/// The serial number that the disk reports; empty when it has none.
QByteArray gSerialNumber(const Device &disk)
{
    // A descriptor holds a few short texts. A serial number beyond this size is not read.
    constexpr DWORD descriptorSize = 4096;

    STORAGE_PROPERTY_QUERY query{};
    query.PropertyId = StorageDeviceProperty;
    query.QueryType = PropertyStandardQuery;
    QByteArray answer(descriptorSize, '\0');
    const DWORD answerSize = disk.Ask(IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof(query),
                                      answer.data(), descriptorSize);
    if (answerSize < sizeof(STORAGE_DEVICE_DESCRIPTOR)) {
        return {};
    }
    const DWORD offset =
        reinterpret_cast<const STORAGE_DEVICE_DESCRIPTOR *>(answer.constData())->SerialNumberOffset;
    // Zero means none; some drivers set all bits instead.
    if (offset == 0 || offset >= answerSize) {
        return {};
    }
    answer.truncate(static_cast<int>(answerSize));
    return QByteArray(answer.constData() + offset).trimmed();
}
} // namespace

QByteArray AdapterAddressHex()
{
    constexpr ULONG addressBytes = 6;

    const auto ask = [](IP_ADAPTER_ADDRESSES *adapters, ULONG *size) {
        return GetAdaptersAddresses(AF_INET, GAA_FLAG_SKIP_ANYCAST, nullptr, adapters, size);
    };
    ULONG result = ERROR_SUCCESS;
    const auto buffer =
        gFillGrowingBuffer<IP_ADAPTER_ADDRESSES, ULONG>(ask, ULONG{ERROR_BUFFER_OVERFLOW}, &result);
    // Without an adapter there is no buffer.
    if (result != ERROR_SUCCESS || buffer.empty()) {
        return {};
    }
    for (const IP_ADAPTER_ADDRESSES *adapter = buffer.data(); adapter != nullptr;
         adapter = adapter->Next) {
        if (adapter->PhysicalAddressLength >= addressBytes) {
            return QByteArray(reinterpret_cast<const char *>(adapter->PhysicalAddress),
                              addressBytes)
                .toHex()
                .toUpper();
        }
    }
    return {};
}

QByteArray SystemVolumeSerialHex()
{
    constexpr DWORD textSize = 128;

    std::array<char, textSize> volumeName{};
    std::array<char, textSize> fileSystem{};
    DWORD serial = 0;
    DWORD longestName = 0;
    DWORD flags = 0;
    if (GetVolumeInformationA(gSystemRoot().constData(), volumeName.data(), textSize, &serial,
                              &longestName, &flags, fileSystem.data(), textSize) == FALSE) {
        serial = 0;
    }
    return QByteArray::number(static_cast<quint32>(serial), 16).rightJustified(8, '0').toUpper();
}

QByteArray DiskIdentifier()
{
    constexpr int driveLength = 2;

    const Device volume(R"(\\.\)" + gSystemRoot().left(driveLength));
    const auto number = gDiskNumber(volume);
    if (!number.has_value()) {
        return {};
    }
    return gSerialNumber(
        Device(R"(\\.\PhysicalDrive)" + QByteArray::number(static_cast<quint32>(*number))));
}

QString NewGuidString()
{
    GUID guid{};
    if (FAILED(CoCreateGuid(&guid))) {
        return {};
    }
    return QUuid(guid).toString().toUpper();
}
