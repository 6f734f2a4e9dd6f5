#include <velxcore/XActiveScene.h>
#include <velxcore/XScene.h>

#include <memory>

namespace VelX {

namespace {
std::function<XScene&()>& provider() {
    static std::function<XScene&()> get;
    return get;
}
}  // namespace

void XActiveScene::SetProvider(std::function<XScene&()> get) { provider() = std::move(get); }

XScene& XActiveScene::Get() {
    if (provider()) return provider()();
    static std::unique_ptr<XScene> own = std::make_unique<XScene>();
    return *own;
}

}  // namespace VelX
