#include <orkacore/LogEntry.h>

namespace Orka {

wxString LogEntry::levelName(LogLevel level) {
    switch (level) {
    case LogLevel::Debug: return "Debug";
    case LogLevel::Information: return "Information";
    case LogLevel::Warning: return "Warning";
    case LogLevel::Error: return "Error";
    }
    return "Unknown";
}

}  // namespace Orka
