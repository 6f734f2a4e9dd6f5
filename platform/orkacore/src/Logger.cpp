#include <orkacore/Logger.h>

#include <orkacore/LogPane.h>

#include <wx/filename.h>
#include <wx/log.h>

#include <algorithm>

namespace Orka {

Logger::Logger() = default;

Logger::~Logger() {
    // Panes outlive their logger with a copy of what they showed.
    const std::vector<LogPane*> panes = m_panes;
    for (LogPane* pane : panes) pane->loggerDestroyed(*this);
}

void Logger::log(LogLevel level, const wxString& text) {
    if (level < m_minimumLevel) return;
    // A copy: listeners and panes may log or clear while this entry is being handed out.
    const LogEntry entry{level, wxDateTime::UNow(),
                         text.length() <= LongestEntry
                             ? text
                             : text.Left(LongestEntry) + wxString::Format("... (%zu more characters left out)",
                                                                         text.length() - LongestEntry)};
    m_entries.push_back(entry);
    m_characters += entry.text.length();
    while (m_entries.size() > MaxEntries || (m_characters > MaxCharacters && m_entries.size() > 1)) {
        m_characters -= m_entries.front().text.length();
        m_entries.pop_front();
    }
    m_snapshotStale = true;

    if (m_file.IsOpened()) {
        wxLogNull quiet;  // a full disk must not turn every message into an error dialog
        m_file.Write(formatLine(entry) + "\n", wxConvUTF8);
    }
    for (LogPane* pane : m_panes) pane->entriesChanged();

    if (m_notifying || m_listeners.empty()) return;
    struct NotifyScope {
        bool& flag;
        explicit NotifyScope(bool& f) : flag(f) { flag = true; }
        ~NotifyScope() { flag = false; }
    } scope(m_notifying);
    std::vector<int> ids;
    for (const auto& [id, listener] : m_listeners) ids.push_back(id);
    for (int id : ids) {
        auto found = m_listeners.find(id);
        if (found == m_listeners.end()) continue;  // removed by an earlier listener
        // Called through a copy, so a listener may remove itself while it runs.
        const auto listener = found->second;
        listener(entry);
    }
}

const std::vector<LogEntry>& Logger::entries() const {
    if (m_snapshotStale) {
        m_snapshot.assign(m_entries.begin(), m_entries.end());
        m_snapshotStale = false;
    }
    return m_snapshot;
}

void Logger::clear() {
    m_entries.clear();
    m_characters = 0;
    m_snapshotStale = true;
    for (LogPane* pane : m_panes) pane->entriesChanged();
}

bool Logger::setLogFile(const wxString& path) {
    if (path.empty()) {
        m_file.Close();
        m_filePath.clear();
        return true;
    }
    wxFile file;
    bool opened = false;
    int error = 0;
    {
        wxLogNull quiet;  // the failure is reported below, as one entry of this log
        opened = !wxFileName::DirExists(path) && file.Open(path, wxFile::write_append);
        if (!opened) error = wxSysErrorCode();
    }
    if (!opened) {
        wxString reason = wxFileName::DirExists(path) ? wxString("it is a folder") : wxSysErrorMsgStr(error);
        warning(wxString::Format("The log file \"%s\" could not be opened (%s); messages are not written to it.",
                                 path, reason));
        return false;
    }
    m_file.Close();
    m_file.Attach(file.Detach());
    m_filePath = path;
    return true;
}

int Logger::addListener(std::function<void(const LogEntry&)> listener) {
    if (!listener) return 0;
    const int id = m_nextListener++;
    m_listeners.emplace(id, std::move(listener));
    return id;
}

bool Logger::removeListener(int id) { return m_listeners.erase(id) > 0; }

wxWindow* Logger::createPane(wxWindow* parent) {
    if (!parent) return nullptr;
    auto* pane = new LogPane(parent, this);
    m_panes.push_back(pane);
    return pane;
}

wxString Logger::formatLine(const LogEntry& entry) {
    wxString text = entry.text;
    text.Replace("\r", "");
    text.Replace("\n", "\\n");  // one line per entry, whatever the message holds
    const wxString time = entry.time.IsValid() ? entry.time.Format("%Y-%m-%d %H:%M:%S.%l") : wxString("-");
    return time + " [" + LogEntry::levelName(entry.level) + "] " + text;
}

void Logger::paneDestroyed(LogPane* pane) { m_panes.erase(std::remove(m_panes.begin(), m_panes.end(), pane), m_panes.end()); }

}  // namespace Orka
