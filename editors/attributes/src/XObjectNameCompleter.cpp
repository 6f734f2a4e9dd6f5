#include <velxui/XObjectNameCompleter.h>

#include <velxcore/XObject.h>
#include <velxcore/XScene.h>

#include <vector>

namespace VelXUI {

void XObjectNameCompleter::GetCompletions(const wxString& prefix, wxArrayString& completions) {
    const wxString wanted = prefix.Lower();
    std::vector<VelX::XObject> stack{m_scene.RootObject()};
    while (!stack.empty() && completions.size() < MaxCompletions) {
        const VelX::XObject object = stack.back();
        stack.pop_back();
        for (int i = object.ChildCount() - 1; i >= 0; --i) stack.push_back(object.Child(i));
        if (object.ObjectID() == m_scene.RootObject().ObjectID()) continue;
        const wxString path(object.Path());
        if (path.Lower().StartsWith(wanted) || wxString(object.Name()).Lower().StartsWith(wanted))
            completions.push_back(path);
    }
}

}  // namespace VelXUI
