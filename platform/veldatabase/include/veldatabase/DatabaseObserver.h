#pragma once

namespace db {

class Database;
class DatabaseChange;

// Told once per outermost change block, after the block has closed.
class DatabaseObserver {
public:
    virtual ~DatabaseObserver() = default;
    virtual void onDatabaseChanged(Database& db, const DatabaseChange& change) = 0;
};

}  // namespace db
