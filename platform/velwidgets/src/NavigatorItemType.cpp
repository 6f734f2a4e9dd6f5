#include <velwidgets/NavigatorItemType.h>

#include <velwidgets/NavigatorTreeItem.h>

namespace wxUtils {

void NavigatorItemType::onItemRename(NavigatorTreeItem* item, const wxString& label) {
    if (item) item->SetLabel(label);
}

}  // namespace wxUtils
