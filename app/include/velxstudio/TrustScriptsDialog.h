#pragma once

#include <wx/dialog.h>

class wxButton;
class wxTextCtrl;

// Asks whether the scripts that came inside a scene file may run. It says which language runs them
// and with what rights (Lua in the sandbox, Python with the user's full rights), and shows the three
// scripts so that the user decides on what will actually run. Trust answers wxID_YES.
class TrustScriptsDialog : public wxDialog {
public:
    enum class Language { Python, Lua };
    struct Scripts {
        wxString start, update, end;
    };

    TrustScriptsDialog(wxWindow* parent, const wxString& sceneName, Language language, const Scripts& scripts);

    wxString Summary() const { return m_summary; }
    wxString ScriptsText() const;
    wxButton* TrustButton() const { return m_trust; }
    wxButton* CancelButton() const { return m_cancel; }

    static wxString SummaryFor(const wxString& sceneName, Language language);

private:
    wxString m_summary;
    wxTextCtrl* m_scripts = nullptr;
    wxButton* m_trust = nullptr;
    wxButton* m_cancel = nullptr;
};
