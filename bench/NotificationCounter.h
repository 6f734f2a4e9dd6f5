#pragma once

#include <veldatabase/DatabaseObserver.h>

#include <memory>

namespace velxbench {

// Counts change notifications and keeps the latest change alive for later questions.
class NotificationCounter : public db::DatabaseObserver {
public:
    void onDatabaseChanged(db::Database& database, const std::shared_ptr<const db::DatabaseChange>& change) override;

    int count() const { return m_count; }
    const std::shared_ptr<const db::DatabaseChange>& last() const { return m_last; }
    void reset();

private:
    int m_count = 0;
    std::shared_ptr<const db::DatabaseChange> m_last;
};

}  // namespace velxbench
