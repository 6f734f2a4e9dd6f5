#include <velxstudio/TrustScriptsDialog.h>

#include <wx/button.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace {

wxString section(const wxString& title, const wxString& text) {
    return "-- " + title + " --\n" + (text.empty() ? wxString("(empty)\n") : text + (text.EndsWith("\n") ? "" : "\n"));
}

}  // namespace

wxString TrustScriptsDialog::SummaryFor(const wxString& sceneName, Language language) {
    const wxString rights =
        language == Language::Python
            ? "They run as Python with your full rights: they can read, change and delete your files, start "
              "programs and reach the network."
            : "They run as Lua in the sandbox: they can change this scene, but not read or write files or start "
              "programs.";
    return wxString::Format("The start, update and end scripts below came inside \"%s\". %s Trust them only "
                            "if you know where the file comes from; a changed script or language asks again.",
                            sceneName, rights);
}

TrustScriptsDialog::TrustScriptsDialog(wxWindow* parent, const wxString& sceneName, Language language,
                                       const Scripts& scripts)
    : wxDialog(parent, wxID_ANY, "Trust Scene Scripts", wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_summary(SummaryFor(sceneName, language)) {
    auto* sizer = new wxBoxSizer(wxVERTICAL);
    auto* summary = new wxStaticText(this, wxID_ANY, m_summary);
    summary->Wrap(FromDIP(560));
    sizer->Add(summary, 0, wxALL, FromDIP(10));

    m_scripts = new wxTextCtrl(this, wxID_ANY,
                               section("start script", scripts.start) + section("update script", scripts.update) +
                                   section("end script", scripts.end),
                               wxDefaultPosition, FromDIP(wxSize(560, 260)),
                               wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP | wxHSCROLL);
    m_scripts->SetFont(wxSystemSettings::GetFont(wxSYS_ANSI_FIXED_FONT));
    sizer->Add(m_scripts, 1, wxEXPAND | wxLEFT | wxRIGHT, FromDIP(10));

    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    m_cancel = new wxButton(this, wxID_NO, "Do Not Run");
    m_trust = new wxButton(this, wxID_YES, language == Language::Python ? "Trust and Run as Python" : "Trust");
    buttons->AddStretchSpacer();
    buttons->Add(m_cancel, 0, wxRIGHT, FromDIP(8));
    buttons->Add(m_trust);
    sizer->Add(buttons, 0, wxEXPAND | wxALL, FromDIP(10));
    SetSizerAndFit(sizer);
    // Not trusting is the safe default: Enter and Escape both keep the scripts from running.
    m_cancel->SetDefault();
    m_cancel->SetFocus();
    SetEscapeId(wxID_NO);
    SetAffirmativeId(wxID_NONE);
    m_trust->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { EndModal(wxID_YES); });
    m_cancel->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { EndModal(wxID_NO); });
    CentreOnParent();
}

wxString TrustScriptsDialog::ScriptsText() const { return m_scripts->GetValue(); }
