#pragma once

#include <veldatabase/Database.h>

namespace db {

// Opens a block around a public mutation when none is open, so that every edit is journaled.
class ImplicitBlock {
public:
    explicit ImplicitBlock(Database& db) : m_db(db), m_own(db.blockDepth() == 0) {
        if (m_own) m_db.beginChangeBlock();
    }
    ~ImplicitBlock() {
        if (m_own) m_db.endChangeBlock();
    }
    ImplicitBlock(const ImplicitBlock&) = delete;
    ImplicitBlock& operator=(const ImplicitBlock&) = delete;

private:
    Database& m_db;
    bool m_own;
};

}  // namespace db
