#pragma once

// Small node types and a recording observer shared by the database tests.
#include <veldatabase/Database.h>
#include <veldatabase/DatabaseChange.h>
#include <veldatabase/DatabaseObserver.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace dbtest {

// Slots of the "Item" type: top-level attributes in order, the compound's children right after it.
namespace Slot {
constexpr int Message = 0, Weight = 1, Count = 2, Mode = 3, Label = 4, Size = 5, SizeW = 6, SizeH = 7,
              Items = 8, Target = 9, OtherRef = 10, Total = 11, World = 12;
constexpr int ItemName = 0, ItemValue = 1;  // fields of one element of "items"
constexpr int WorldTopLevelIndex = 10;
}  // namespace Slot

inline int& computeCalls() {
    static int calls = 0;
    return calls;
}

inline db::AttributeDef attr(const char* name, db::ValueType type, db::Value value = {},
                             std::uint32_t flags = db::DefaultFlags) {
    db::AttributeDef a;
    a.name = name;
    a.displayName = name;
    a.type = type;
    a.defaultValue = std::move(value);
    a.flags = flags;
    return a;
}

inline db::AttributeDef message() { return attr("message", db::ValueType::ObjectRef, {}, db::Internal); }

const db::NodeDef& itemDef();

// total = weight + count + size.w + the sum of items[*].value; world = parent's world + weight.
inline db::Value computeItem(const db::Database& d, const db::Node& n, int slot) {
    ++computeCalls();
    auto read = [&](int s) { return d.value(db::AttrKey{n.id(), s}).asDouble(); };
    if (slot == Slot::Total) {
        double sum = read(Slot::Weight) + read(Slot::Count) + read(Slot::SizeW);
        db::Value items = d.value(db::AttrKey{n.id(), Slot::Items});
        if (const db::ValueList* list = items.tryGet<db::ValueList>())
            for (const db::Value& e : *list)
                if (const db::ValueList* f = e.tryGet<db::ValueList>()) sum += (*f)[Slot::ItemValue].asDouble();
        return db::Value(static_cast<float>(sum));
    }
    if (slot == Slot::World) {
        const db::Node* p = d.node(n.parent());
        double base = p && p->isOfType(itemDef()) ? d.value(db::AttrKey{p->id(), Slot::World}).asDouble() : 0.0;
        return db::Value(static_cast<float>(base + read(Slot::Weight)));
    }
    return {};
}

inline const db::NodeDef& itemDef() {
    static const std::vector<db::AttributeDef> attributes = [] {
        db::AttributeDef size = attr("size", db::ValueType::Compound);
        size.children = {attr("w", db::ValueType::Float, 0.0f), attr("h", db::ValueType::Float, 0.0f)};
        db::AttributeDef items = attr("items", db::ValueType::Compound);
        items.isArray = true;
        items.children = {attr("name", db::ValueType::String, std::string()), attr("value", db::ValueType::Float, 0.0f)};
        db::AttributeDef mode = attr("mode", db::ValueType::Enum, std::int32_t(0));
        mode.enumNames = {"off", "on", "auto"};
        db::AttributeDef otherRef = attr("otherRef", db::ValueType::ObjectRef);
        otherRef.refType = "Other";
        db::AttributeDef world = attr("world", db::ValueType::Float, 0.0f, db::Visible | db::Computed);
        world.parentSlot = Slot::WorldTopLevelIndex;
        return std::vector<db::AttributeDef>{message(),
                                             attr("weight", db::ValueType::Float, 1.0f),
                                             attr("count", db::ValueType::Int, std::int32_t(0)),
                                             mode,
                                             attr("label", db::ValueType::String, std::string()),
                                             size,
                                             items,
                                             attr("target", db::ValueType::ObjectRef),
                                             otherRef,
                                             attr("total", db::ValueType::Float, 0.0f, db::Visible | db::Computed),
                                             world};
    }();
    static const db::NodeDef type("Item", nullptr, attributes, db::DefaultNodeTypeFlags, "Item", computeItem);
    return type;
}

// A leaf type of its own, for reference-type checks.
inline const db::NodeDef& otherDef() {
    static const db::NodeDef type("Other", nullptr,
                                  {message(), attr("weight", db::ValueType::Float, 0.0f)},
                                  db::Deletable | db::Renamable | db::Reparentable);
    return type;
}

// Keeps every change it is told about; an optional hook runs inside the notification.
struct Recorder : db::DatabaseObserver {
    std::vector<std::shared_ptr<const db::DatabaseChange>> changes;
    std::function<void(db::Database&, const db::DatabaseChange&)> hook;
    int depth = 0;
    int maxDepth = 0;

    void onDatabaseChanged(db::Database& d, const std::shared_ptr<const db::DatabaseChange>& change) override {
        ++depth;
        maxDepth = std::max(maxDepth, depth);
        changes.push_back(change);
        if (hook) hook(d, *change);
        --depth;
    }
    const db::DatabaseChange& last() const { return *changes.back(); }
};

class DatabaseTest : public ::testing::Test {
protected:
    void SetUp() override {
        db.registerType(itemDef());
        db.registerType(otherDef());
        ASSERT_EQ(itemDef().findTopLevel("world"), Slot::World);
        ASSERT_EQ(itemDef().findTopLevel("items"), Slot::Items);
        db.addObserver(&recorder);
    }
    void TearDown() override { db.removeObserver(&recorder); }

    int item(const std::string& name, int parent = db::Database::RootId) { return db.create(itemDef(), name, parent); }
    static db::AttrKey key(int node, int slot) { return db::AttrKey{node, slot}; }
    double num(int node, int slot) const { return db.value(db::AttrKey{node, slot}).asDouble(); }
    std::vector<int> children(int id) const { return db.node(id)->children(); }
    std::vector<std::string> childNames(int id) const {
        std::vector<std::string> out;
        for (int c : children(id)) out.push_back(db.node(c)->name());
        return out;
    }
    static db::Value element(const std::string& name, float value) {
        return db::Value(db::ValueList{db::Value(name), db::Value(value)});
    }

    db::Database db;
    Recorder recorder;
};

}  // namespace dbtest
