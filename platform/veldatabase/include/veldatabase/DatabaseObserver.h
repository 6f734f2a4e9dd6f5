#pragma once

#include <memory>

namespace db {

class Database;
class DatabaseChange;

// Told once per outermost change block, after the block has closed.
class DatabaseObserver {
public:
    virtual ~DatabaseObserver() = default;
    // The change stays alive as long as someone holds it.
    virtual void onDatabaseChanged(Database& db, const std::shared_ptr<const DatabaseChange>& change) = 0;
};

}  // namespace db
