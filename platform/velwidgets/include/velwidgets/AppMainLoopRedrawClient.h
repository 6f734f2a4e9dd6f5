#pragma once

namespace wxUtils {

// Something that does its deferred work (rebuilds, repaints) once per pass of the application's main
// loop. Register with AppMainLoop::Instance().addRedrawClient(this) and remove in the destructor; the
// base destructor removes a client that forgot, so the loop never calls a dead object.
class AppMainLoopRedrawClient {
public:
    AppMainLoopRedrawClient() = default;
    AppMainLoopRedrawClient(const AppMainLoopRedrawClient&) = default;
    AppMainLoopRedrawClient& operator=(const AppMainLoopRedrawClient&) = default;
    virtual ~AppMainLoopRedrawClient();

    virtual void onAppMainLoopRedraw() = 0;
};

}  // namespace wxUtils
