#include <velxcore/XDatabase.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneEditing.h>
#include <velxcore/XSelection.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>

namespace VelX {

using Velutils::StringUtils;

namespace {

bool isCreatable(const db::NodeDef& def) {
    return !def.hasFlag(db::Abstract) && !def.hasFlag(db::SettingsType) && !def.hasFlag(db::HiddenFromExplorer) &&
           !def.isA("ObjectGroup");
}

std::wstring displayNameOf(const db::NodeDef& def) {
    return StringUtils::toWide(def.displayTypeName().empty() ? def.typeName() : def.displayTypeName());
}

std::vector<XObject> selectedObjects(XScene& scene) {
    Velutils::Vector<XObject> selected;
    scene.Selection().Objects(selected);
    return std::vector<XObject>(selected.begin(), selected.end());
}

// The selected objects that have no selected ancestor: copying them copies the rest.
std::vector<int> topmostSelected(const db::Database& d, const std::vector<XObject>& selected) {
    // A set, so that thousands of selected objects cost one look-up per ancestor each.
    std::unordered_set<int> ids;
    for (const XObject& object : selected) ids.insert(object.ObjectID());
    std::vector<int> top;
    for (const XObject& object : selected) {
        const int id = object.ObjectID();
        bool below = false;
        for (int p = d.node(id) ? d.node(id)->parent() : -1; p >= 0 && !below; p = d.node(p) ? d.node(p)->parent() : -1)
            below = ids.count(p) != 0;
        if (!below) top.push_back(id);
    }
    return top;
}

// Whether the slot holds a value of its own that copying must carry (not computed, not an object
// reference, which is a connection, not a compound whose fields are slots of their own, and not a
// field of an array, which comes with its array).
bool carriesOwnValue(const db::NodeDef& def, int slot) {
    const db::SlotInfo& info = def.slot(slot);
    const db::AttributeDef* attribute = info.def;
    if (!attribute || attribute->has(db::Computed) || attribute->type == db::ValueType::ObjectRef) return false;
    if (attribute->type == db::ValueType::Compound && !attribute->isArray) return false;
    for (int p = info.parent; p >= 0; p = def.slot(p).parent)
        if (def.slot(p).def && def.slot(p).def->isArray) return false;
    return true;
}

// An input of a copied attribute from outside the copied branches, by the source's path: pasting
// connects it again when the scene still has that object.
struct OutsideInput {
    int copy;
    int slot;
    std::string sourcePath;
    int sourceSlot;
};

// Copies branches of objects from one database into another (or into the same one): values, the
// connections among the copies (remapped), animation curves driving them (copied), and inputs from
// elsewhere (kept in the same database, noted by path across databases).
class SubtreeCopier {
public:
    SubtreeCopier(db::Database& from, db::Database& to) : source(from), target(to) {}

    int copyTree(int node, int parent) {
        const db::Node* original = source.node(node);
        const int copy = target.create(original->def(), original->name(), parent);
        if (copy < 0) return -1;
        copies[node] = copy;
        copyValues(node, copy);
        for (int child : std::vector<int>(original->children())) copyTree(child, copy);
        return copy;
    }

    void copyInputs() {
        for (const auto& [node, copy] : std::vector<std::pair<int, int>>(copies.begin(), copies.end())) {
            const db::NodeDef& def = source.node(node)->def();
            for (int slot = 0; slot < def.slotCount(); ++slot) {
                const db::AttrKey input = source.input(db::AttrKey{node, slot});
                if (!input.isValid()) continue;
                db::AttrKey from = input;
                if (auto inside = copies.find(input.node); inside != copies.end()) {
                    from.node = inside->second;
                } else if (source.node(input.node) && source.node(input.node)->def().isA(sg::AnimationNode::Def)) {
                    const db::Node* curve = source.node(input.node);
                    const int curveCopy = target.create(curve->def(), curve->name(), db::Database::RootId);
                    if (curveCopy < 0) continue;
                    copyValues(input.node, curveCopy);
                    from.node = curveCopy;
                } else if (&source != &target) {
                    outside.push_back({copy, slot, source.path(input.node), input.slot});
                    continue;
                }
                target.connect(from, db::AttrKey{copy, slot});
            }
        }
    }

    // Inputs noted by path (a paste): connected where the target has the object.
    void connectOutside(const std::vector<OutsideInput>& inputs) {
        for (const OutsideInput& input : inputs) {
            auto copy = copies.find(input.copy);
            const int found = target.findPath(input.sourcePath);
            if (copy != copies.end() && found >= 0)
                target.connect(db::AttrKey{found, input.sourceSlot}, db::AttrKey{copy->second, input.slot});
        }
    }

    std::unordered_map<int, int> copies;
    std::vector<OutsideInput> outside;

private:
    void copyValues(int node, int copy) {
        const db::NodeDef& def = source.node(node)->def();
        for (int slot = 0; slot < def.slotCount(); ++slot)
            if (carriesOwnValue(def, slot)) target.setValue(db::AttrKey{copy, slot}, source.storedValue(db::AttrKey{node, slot}));
    }

    db::Database& source;
    db::Database& target;
};

// What Copy took: the branches in a scene of their own, so that later edits (or a deletion) of
// the originals do not change what Paste brings.
struct Clipboard {
    std::unique_ptr<XScene> scene;
    std::vector<int> roots;
    std::vector<OutsideInput> outside;
};

Clipboard& clipboard() {
    // Never destroyed: its scene must not outlive the services it registered with at exit.
    static Clipboard* held = new Clipboard;
    return *held;
}

}  // namespace

std::vector<XSceneEditing::CreatableType> XSceneEditing::CreatableTypes(XScene& scene) {
    std::vector<CreatableType> types;
    for (const db::NodeDef* def : scene.Database().db().types())
        if (def && isCreatable(*def)) types.push_back({StringUtils::toWide(def->typeName()), displayNameOf(*def)});
    std::sort(types.begin(), types.end(),
              [](const CreatableType& a, const CreatableType& b) { return a.displayName < b.displayName; });
    return types;
}

XObject XSceneEditing::CreateUnderSelection(XScene& scene, const std::wstring& typeId) {
    db::Database& d = scene.Database().db();
    const db::NodeDef* def = d.findType(StringUtils::toUtf8(typeId));
    if (!def || !isCreatable(*def)) return {};
    const std::vector<XObject> selected = selectedObjects(scene);
    XObject parent;
    if (!selected.empty()) {
        const db::Node* last = d.node(selected.back().ObjectID());
        if (last && last->def().hasFlag(db::SupportsChildren)) parent = selected.back();
    }
    scene.Database().BeginChangeBlock();
    XObject created = scene.Database().CreateObject(typeId, StringUtils::toWide(def->typeName()), parent);
    if (created.IsValid()) scene.Selection().SelectObjects(Velutils::Vector<XObject>{created});
    scene.Database().EndChangeBlock(L"Create " + displayNameOf(*def));
    return created;
}

std::vector<XObject> XSceneEditing::DuplicateSelection(XScene& scene) {
    db::Database& d = scene.Database().db();
    std::vector<XObject> made;
    const std::vector<int> top = topmostSelected(d, selectedObjects(scene));
    if (top.empty()) return made;
    scene.Database().BeginChangeBlock();
    SubtreeCopier copier(d, d);
    std::vector<int> roots;
    for (int id : top)
        if (const db::Node* node = d.node(id); node && node->def().hasFlag(db::Deletable))
            roots.push_back(copier.copyTree(id, node->parent()));
    copier.copyInputs();
    Velutils::Vector<XObject> selection;
    for (int root : roots)
        if (root >= 0) {
            made.push_back(scene.Database().Object(root));
            selection.push_back(made.back());
        }
    if (!selection.empty()) scene.Selection().SelectObjects(selection);
    scene.Database().EndChangeBlock(L"Duplicate");
    return made;
}

bool XSceneEditing::CopySelection(XScene& scene) {
    db::Database& d = scene.Database().db();
    const std::vector<int> top = topmostSelected(d, selectedObjects(scene));
    if (top.empty()) return false;
    Clipboard& held = clipboard();
    held.scene = std::make_unique<XScene>();
    held.roots.clear();
    db::Database& store = held.scene->Database().db();
    store.setRecording(false);  // the clipboard needs no undo history
    SubtreeCopier copier(d, store);
    for (int id : top)
        if (const db::Node* node = d.node(id); node && node->def().hasFlag(db::Deletable))
            if (const int copy = copier.copyTree(id, db::Database::RootId); copy >= 0) held.roots.push_back(copy);
    copier.copyInputs();
    held.outside = std::move(copier.outside);
    return !held.roots.empty();
}

bool XSceneEditing::CanPaste() { return clipboard().scene && !clipboard().roots.empty(); }

std::vector<XObject> XSceneEditing::Paste(XScene& scene) {
    std::vector<XObject> made;
    Clipboard& held = clipboard();
    if (!CanPaste()) return made;
    db::Database& d = scene.Database().db();
    const std::vector<XObject> selected = selectedObjects(scene);
    int parent = db::Database::RootId;
    if (!selected.empty())
        if (const db::Node* last = d.node(selected.back().ObjectID()); last && last->def().hasFlag(db::SupportsChildren))
            parent = selected.back().ObjectID();
    scene.Database().BeginChangeBlock();
    SubtreeCopier copier(held.scene->Database().db(), d);
    Velutils::Vector<XObject> selection;
    for (int root : held.roots)
        if (const int copy = copier.copyTree(root, parent); copy >= 0) {
            made.push_back(scene.Database().Object(copy));
            selection.push_back(made.back());
        }
    copier.copyInputs();
    copier.connectOutside(held.outside);
    if (!selection.empty()) scene.Selection().SelectObjects(selection);
    scene.Database().EndChangeBlock(L"Paste");
    return made;
}

bool XSceneEditing::ParentSelection(XScene& scene) {
    const std::vector<XObject> selected = selectedObjects(scene);
    if (selected.size() < 2) return false;
    const XObject parent = selected.back();
    bool moved = false;
    scene.Database().BeginChangeBlock();
    for (std::size_t i = 0; i + 1 < selected.size(); ++i) moved = XObject(selected[i]).SetParent(parent) || moved;
    scene.Database().EndChangeBlock(L"Parent");
    return moved;
}

bool XSceneEditing::UnparentSelection(XScene& scene) {
    const std::vector<XObject> selected = selectedObjects(scene);
    bool moved = false;
    scene.Database().BeginChangeBlock();
    for (const XObject& object : selected)
        if (object.Parent().ObjectID() != scene.RootObject().ObjectID())
            moved = XObject(object).SetParent(scene.RootObject()) || moved;
    scene.Database().EndChangeBlock(L"Unparent");
    return moved;
}

}  // namespace VelX
