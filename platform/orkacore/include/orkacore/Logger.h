#pragma once

#include <orkacore/LogEntry.h>

#include <wx/file.h>

#include <deque>
#include <functional>
#include <map>
#include <vector>

class wxWindow;

namespace Orka {

class LogPane;

// The application's log: keeps the latest entries, appends each to an optional log file, tells its
// listeners and shows them in log panes. It needs no wxApp and no pane (file and listeners alone
// work). Logger and panes may die in either order: a pane whose logger is gone keeps what it showed.
// Everything runs on the user-interface thread. An entry longer than LongestEntry is cut, saying how
// much was left out; the latest entries are kept within MaxEntries and MaxCharacters.
class Logger {
public:
    static constexpr size_t MaxEntries = 10000;
    static constexpr size_t LongestEntry = 16 * 1024;
    static constexpr size_t MaxCharacters = 4 * 1024 * 1024;

    Logger();
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    // Entries below the minimum level are dropped: not kept, written or sent.
    void log(LogLevel level, const wxString& text);
    void debug(const wxString& text) { log(LogLevel::Debug, text); }
    void information(const wxString& text) { log(LogLevel::Information, text); }
    void warning(const wxString& text) { log(LogLevel::Warning, text); }
    void error(const wxString& text) { log(LogLevel::Error, text); }

    // The latest entries, oldest first (at most MaxEntries).
    const std::vector<LogEntry>& entries() const;
    size_t entryCount() const { return m_entries.size(); }
    const LogEntry& entry(size_t index) const { return m_entries[index]; }  // index < entryCount()
    void clear();

    // Appends every later entry to the file, one line each: "<time> [<Level>] <text>". False (and a
    // warning in the log) when the file cannot be opened; logging to the previous file then goes on.
    // An empty path stops writing to a file.
    bool setLogFile(const wxString& path);
    wxString logFile() const { return m_filePath; }

    void setMinimumLevel(LogLevel level) { m_minimumLevel = level; }
    LogLevel minimumLevel() const { return m_minimumLevel; }

    // Listeners hear of every kept entry. They may add or remove listeners while they run; what a
    // listener logs itself is kept and written but not sent to the listeners again.
    int addListener(std::function<void(const LogEntry&)> listener);
    bool removeListener(int id);

    // A new log pane on the parent window, showing this log.
    wxWindow* createPane(wxWindow* parent);

    // The log file line for an entry (without the line end).
    static wxString formatLine(const LogEntry& entry);

private:
    friend class LogPane;
    void paneDestroyed(LogPane* pane);

    std::deque<LogEntry> m_entries;
    size_t m_characters = 0;  // in m_entries
    mutable std::vector<LogEntry> m_snapshot;  // entries() as a vector, rebuilt after changes
    mutable bool m_snapshotStale = false;
    LogLevel m_minimumLevel = LogLevel::Debug;
    wxFile m_file;
    wxString m_filePath;
    std::map<int, std::function<void(const LogEntry&)>> m_listeners;
    int m_nextListener = 1;
    bool m_notifying = false;
    std::vector<LogPane*> m_panes;
};

}  // namespace Orka
