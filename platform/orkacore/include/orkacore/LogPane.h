#pragma once

#include <orkacore/LogEntry.h>
#include <velwidgets/VelPanel.h>

#include <vector>

class wxButton;
class wxListCtrl;

namespace Orka {

class Logger;

// The log as a pane: a list of time, level and message, newest at the bottom and scrolled into
// view, errors and warnings coloured for the active scheme, and a Clear button. Made by
// Logger::createPane. New entries are shown on the next turn of the event loop, so a burst of
// messages costs one update.
class LogPane : public wxUtils::VelPanel {
public:
    LogPane(wxWindow* parent, Logger* logger);
    ~LogPane() override;

    Logger* logger() const { return m_logger; }
    size_t rowCount() const;
    const LogEntry* rowEntry(size_t row) const;  // null past the end
    wxString rowText(size_t row, int column) const;  // columns: 0 time, 1 level, 2 message
    wxColour rowColour(size_t row) const;
    wxListCtrl* list() const { return m_list; }
    wxButton* clearButton() const { return m_clear; }

    // Empties the log (the logger's entries; the pane's own copy when the logger is gone).
    void clear();

    // A row shows one line of its message; the whole of it (a traceback, a long path) is in the
    // row's tooltip and in the details view, which double-click or Enter on a row opens.
    wxString detailsText(size_t row) const;
    void showDetails(size_t row);
    static const char* const DetailsWindowName;

    void onColourSchemeChanged(const wxUtils::ColourScheme& scheme) override;

private:
    friend class Logger;
    void entriesChanged();  // from the logger: show the new state on the next turn of the loop
    void loggerDestroyed(const Logger& logger);  // keep a copy of what was shown
    void refreshRows();
    void applyListColours(const wxUtils::ColourScheme& scheme);
    void onListMotion(wxMouseEvent& event);

    Logger* m_logger;
    std::vector<LogEntry> m_orphanedEntries;  // what the pane shows once its logger is gone
    wxListCtrl* m_list = nullptr;
    wxButton* m_clear = nullptr;
    bool m_refreshPending = false;
    long m_tooltipRow = -1;
};

}  // namespace Orka
