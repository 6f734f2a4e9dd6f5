// Bulk building and whole-contents exchange: a scene is built aside without journal or change
// records, then moved into the live database in constant time.
#include <veldatabase/Database.h>

#include <utility>

namespace db {

bool Database::setRecording(bool on) {
    if (m_depth > 0) return false;
    if (on == m_recording) return true;
    // History made before unrecorded edits could no longer be replayed.
    clearUndo();
    m_recording = on;
    // journal() skips every edit while replaying, which is what unrecorded edits need too.
    m_replaying = !on;
    return true;
}

void Database::reserveIds(int firstId) {
    if (firstId > idLimit()) m_nodes.resize(static_cast<std::size_t>(firstId));
}

bool Database::takeContents(Database& other) {
    if (&other == this) return true;
    if (m_depth > 0 || other.m_depth > 0) return false;
    clearUndo();
    other.clearUndo();
    std::swap(m_nodes, other.m_nodes);
    std::swap(m_liveCount, other.m_liveCount);
    std::swap(m_names, other.m_names);
    std::swap(m_inputs, other.m_inputs);
    std::swap(m_outputs, other.m_outputs);
    std::swap(m_selection, other.m_selection);
    std::swap(m_timeNodes, other.m_timeNodes);
    std::swap(m_timeKey, other.m_timeKey);
    std::swap(m_cache, other.m_cache);
    std::swap(m_extraAttributeIds, other.m_extraAttributeIds);
    std::swap(m_extraAttributeKeys, other.m_extraAttributeKeys);
    return true;
}

}  // namespace db
