#include <velwidgets/VelListEvent.h>

namespace wxUtils {

wxDEFINE_EVENT(wxEVT_VELLIST_CONTEXT_MENU, VelListEvent);
wxDEFINE_EVENT(wxEVT_VELLIST_SELECTION_CHANGED, VelListEvent);
wxDEFINE_EVENT(wxEVT_VELLIST_ROLLUP, VelListEvent);

}  // namespace wxUtils
