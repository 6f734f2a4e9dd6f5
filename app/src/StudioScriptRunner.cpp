#include <velxstudio/StudioScriptRunner.h>

#include <velxcore/XApplication.h>
#include <velxcore/XLog.h>
#include <velxcore/XLuaScript.h>
#include <velxcore/XPythonScript.h>
#include <velxcore/XScene.h>

#include <wx/ffile.h>
#include <wx/filename.h>

bool StudioScriptRunner::runFile(const wxString& fileName, VelX::XScene& scene, wxString* error) {
    // A failing script has already written its error to the log; only what stopped it from running
    // at all is written here, so that every failure is in the log once.
    auto fail = [&](const wxString& message, bool logged = false) {
        if (!logged) VelX::XLog::Error(message.ToStdWstring());
        if (error) *error = message;
        return false;
    };
    wxFFile file;
    wxString text;
    if (!wxFileName::FileExists(fileName) || !file.Open(fileName, "rb") || !file.ReadAll(&text, wxConvUTF8))
        return fail(wxString::Format("Cannot read the script \"%s\".", fileName));
    const wxFileName name(fileName);
    const std::wstring chunk = name.GetFullName().ToStdWstring();
    const wxString extension = name.GetExt().Lower();
    if (extension == "lua") {
        VelX::XLuaScript& lua = VelX::XApplication::Instance().LuaScript();
        if (lua.RunSceneScript(text.ToStdWstring(), chunk, scene) != 0)
            return fail(wxString::Format("The script \"%s\" failed: %s", fileName, wxString(lua.LastError())), true);
        return true;
    }
    if (extension == "py") {
        VelX::XPythonScript python;
        if (!python.RunSceneScript(text.ToStdWstring(), chunk, scene))
            return fail(wxString::Format("The script \"%s\" failed: %s", fileName, wxString(python.LastError())), true);
        return true;
    }
    return fail(wxString::Format("\"%s\" is neither a Lua (.lua) nor a Python (.py) script.", fileName));
}
