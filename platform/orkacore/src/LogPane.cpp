#include <orkacore/LogPane.h>

#include "LogListView.h"

#include <orkacore/Logger.h>
#include <velwidgets/PanelBuilder.h>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/listctrl.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>

namespace Orka {

LogPane::LogPane(wxWindow* parent, Logger* logger) : wxUtils::VelPanel(parent), m_logger(logger) {
    wxUtils::PanelBuilder builder(this);
    m_list = builder.add(new LogListView(this, *this), 1, wxEXPAND);
    builder.beginHorizontal(0, wxEXPAND);
    builder.addStretchSpacer();
    m_clear = builder.add(new wxButton(this, wxID_CLEAR, "Clear"), 0, wxALL);
    builder.end();
    builder.finish();
    m_clear->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { clear(); });
    m_list->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent& event) {
        if (event.GetIndex() >= 0) showDetails(static_cast<size_t>(event.GetIndex()));
    });
    m_list->Bind(wxEVT_MOTION, &LogPane::onListMotion, this);
    applyListColours(activeColourScheme());
    refreshRows();
}

LogPane::~LogPane() {
    if (m_logger) m_logger->paneDestroyed(this);
}

size_t LogPane::rowCount() const { return m_logger ? m_logger->entryCount() : m_orphanedEntries.size(); }

const LogEntry* LogPane::rowEntry(size_t row) const {
    if (row >= rowCount()) return nullptr;
    return m_logger ? &m_logger->entry(row) : &m_orphanedEntries[row];
}

wxString LogPane::rowText(size_t row, int column) const {
    const LogEntry* entry = rowEntry(row);
    if (!entry) return wxString();
    switch (column) {
    case 0: return entry->time.IsValid() ? entry->time.Format("%H:%M:%S") : wxString();
    case 1: return LogEntry::levelName(entry->level);
    case 2: {
        wxString text = entry->text;
        text.Replace("\r", "");
        text.Replace("\n", "  ");  // a row shows one line
        return text;
    }
    default: return wxString();
    }
}

wxColour LogPane::rowColour(size_t row) const {
    const wxUtils::ColourScheme& scheme = activeColourScheme();
    const LogEntry* entry = rowEntry(row);
    if (!entry) return scheme.text;
    switch (entry->level) {
    case LogLevel::Error: return scheme.dark ? wxColour(255, 110, 100) : wxColour(190, 25, 25);
    case LogLevel::Warning: return scheme.dark ? wxColour(240, 190, 80) : wxColour(160, 95, 0);
    case LogLevel::Debug: return scheme.dimmedText;
    case LogLevel::Information: break;
    }
    return scheme.text;
}

const char* const LogPane::DetailsWindowName = "LogDetails";

wxString LogPane::detailsText(size_t row) const {
    const LogEntry* entry = rowEntry(row);
    if (!entry) return wxString();
    return rowText(row, 0) + "  " + rowText(row, 1) + "\n\n" + entry->text;
}

void LogPane::showDetails(size_t row) {
    if (!rowEntry(row)) return;
    wxDialog dialog(this, wxID_ANY, "Log Message", wxDefaultPosition, wxDefaultSize,
                    wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER, DetailsWindowName);
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    auto* text = new wxTextCtrl(&dialog, wxID_ANY, detailsText(row), wxDefaultPosition, FromDIP(wxSize(640, 280)),
                                wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP | wxHSCROLL);
    text->SetFont(wxSystemSettings::GetFont(wxSYS_ANSI_FIXED_FONT));
    sizer->Add(text, 1, wxEXPAND | wxALL, FromDIP(8));
    sizer->Add(dialog.CreateButtonSizer(wxCLOSE), 0, wxEXPAND | wxALL, FromDIP(8));
    dialog.SetSizerAndFit(sizer);
    dialog.SetEscapeId(wxID_CLOSE);
    dialog.Bind(wxEVT_BUTTON, [&dialog](wxCommandEvent&) { dialog.EndModal(wxID_CLOSE); }, wxID_CLOSE);
    dialog.ShowModal();
}

void LogPane::onListMotion(wxMouseEvent& event) {
    event.Skip();
    int flags = 0;
    const long row = m_list->HitTest(event.GetPosition(), flags);
    if (row == m_tooltipRow) return;
    m_tooltipRow = row;
    const LogEntry* entry = row >= 0 ? rowEntry(static_cast<size_t>(row)) : nullptr;
    m_list->SetToolTip(entry ? entry->text : wxString());
}

void LogPane::clear() {
    if (m_logger) {
        m_logger->clear();  // tells every pane, this one included
    } else {
        m_orphanedEntries.clear();
        entriesChanged();
    }
}

void LogPane::onColourSchemeChanged(const wxUtils::ColourScheme& scheme) {
    VelPanel::onColourSchemeChanged(scheme);
    applyListColours(scheme);
}

void LogPane::entriesChanged() {
    if (m_refreshPending) return;
    m_refreshPending = true;
    CallAfter(&LogPane::refreshRows);  // dropped with the window if it dies first
}

void LogPane::loggerDestroyed(const Logger& logger) {
    m_orphanedEntries = logger.entries();
    m_logger = nullptr;
    entriesChanged();
}

void LogPane::refreshRows() {
    m_refreshPending = false;
    const long count = static_cast<long>(rowCount());
    m_list->SetItemCount(count);
    if (count > 0) m_list->EnsureVisible(count - 1);
    m_list->Refresh();
}

void LogPane::applyListColours(const wxUtils::ColourScheme& scheme) {
    if (!m_list) return;
    m_list->SetBackgroundColour(scheme.windowBackground);
    m_list->SetForegroundColour(scheme.text);
    m_list->Refresh();
}

}  // namespace Orka
