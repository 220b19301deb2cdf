// Run-time failures. A routine's failure frame catches these at its edge and
// hands the description to the error tail; they never cross a routine that
// has a frame of its own.
#pragma once

#include <QString>
#include <stdexcept>

namespace qel {

// Descriptions as the error log has always shown them.
namespace err {
inline constexpr const char* SubscriptOutOfRange = "Subscript out of range";
inline constexpr const char* InvalidArgument = "Invalid procedure call or argument";
inline constexpr const char* Overflow = "Overflow";
inline constexpr const char* TypeMismatch = "Type mismatch";
inline constexpr const char* FileNotFound = "File not found";
inline constexpr const char* PathNotFound = "Path not found";
inline constexpr const char* PathFileAccess = "Path/File access error";
inline constexpr const char* PermissionDenied = "Permission denied";
inline constexpr const char* DiskFull = "Disk full";
inline constexpr const char* PortNotOpen = "Operation valid only when the port is open";
inline constexpr const char* PortAlreadyOpen = "Port already open";
inline constexpr const char* DeviceUnavailable = "Device unavailable";
}  // namespace err

class RuntimeError : public std::runtime_error {
public:
    explicit RuntimeError(const QString& description)
        : std::runtime_error(description.toStdString()), description_(description) {}
    explicit RuntimeError(const char* description) : RuntimeError(QString::fromUtf8(description)) {}
    const QString& description() const { return description_; }

private:
    QString description_;
};

}  // namespace qel
