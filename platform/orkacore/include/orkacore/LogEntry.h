#pragma once

#include <wx/datetime.h>
#include <wx/string.h>

namespace Orka {

enum class LogLevel { Debug, Information, Warning, Error };

// One message of the application log.
struct LogEntry {
    LogLevel level = LogLevel::Information;
    wxDateTime time;
    wxString text;

    // "Debug", "Information", "Warning", "Error".
    static wxString levelName(LogLevel level);
};

}  // namespace Orka
