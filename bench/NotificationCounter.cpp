#include "NotificationCounter.h"

namespace velxbench {

void NotificationCounter::onDatabaseChanged(db::Database&, const std::shared_ptr<const db::DatabaseChange>& change) {
    ++m_count;
    m_last = change;
}

void NotificationCounter::reset() {
    m_count = 0;
    m_last.reset();
}

}  // namespace velxbench
