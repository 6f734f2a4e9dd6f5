#include <velwidgets/AppMainLoopRedrawClient.h>

#include <velwidgets/AppMainLoop.h>

namespace wxUtils {

AppMainLoopRedrawClient::~AppMainLoopRedrawClient() {
    AppMainLoop& loop = AppMainLoop::Instance();
    if (loop.hasRedrawClient(this)) loop.removeRedrawClient(this);
}

}  // namespace wxUtils
