#pragma once

#include <wx/textcompleter.h>

namespace VelX {
class XScene;
}

namespace VelXUI {

// Completes an object's name or path while it is typed into an object-reference row: the paths of
// the scene's objects whose name or path starts with what was typed (case ignored), at most
// MaxCompletions of them so that a crowd of a million objects does not flood the list.
class XObjectNameCompleter : public wxTextCompleterSimple {
public:
    static constexpr size_t MaxCompletions = 200;

    explicit XObjectNameCompleter(VelX::XScene& scene) : m_scene(scene) {}
    void GetCompletions(const wxString& prefix, wxArrayString& completions) override;

private:
    VelX::XScene& m_scene;
};

}  // namespace VelXUI
