// Arrays of numbers kept packed: whole writes, and elements inserted and removed as edits.
#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>

#include "ImplicitBlock.h"
#include "Journal.h"

#include <algorithm>

namespace db {

bool Database::setPackedArray(const AttrKey& key, const AttributeDef& def, const Value& list) {
    // Each field is converted as coerce() converts it and packed at once: no converted list between.
    const ValueList* elements = list.tryGet<ValueList>();
    if (!elements) return false;
    PackedArray after(*node(key.node)->def().slot(key.slot).packed);
    after.resize(static_cast<int>(elements->size()));
    Value field;
    for (std::size_t e = 0; e < elements->size(); ++e) {
        const Value& element = (*elements)[e];
        if (def.children.empty()) {
            if (!coerce(def, false, element, field)) return false;
            after.setField(static_cast<int>(e), 0, field);
            continue;
        }
        const ValueList* fields = element.tryGet<ValueList>();
        if (!fields || fields->size() != def.children.size()) return false;
        for (std::size_t c = 0; c < fields->size(); ++c) {
            if (!coerce(def.children[c], false, (*fields)[c], field)) return false;
            after.setField(static_cast<int>(e), static_cast<int>(c), field);
        }
    }
    return replacePackedArray(key, def, std::move(after));
}

bool Database::setArray(const AttrKey& key, PackedArray&& elements) {
    const AttributeDef* def = attributeDef(key);
    if (!def || !isArrayKey(key) || def->has(Computed) || m_inputs.count(key)) return false;
    const Node* n = node(key.node);
    if (!n->isPackedSlot(key.slot) || &elements.layout() != n->def().slot(key.slot).packed) return false;
    return replacePackedArray(key, *def, std::move(elements));
}

bool Database::replacePackedArray(const AttrKey& key, const AttributeDef& def, PackedArray&& after) {
    Node* n = node(key.node);
    const PackedArray* current = n->packed(key.slot);
    if (current ? *current == after : after.empty()) return true;
    ImplicitBlock block(*this);
    disconnectElementsFrom(key, def, after.size());
    if (m_recording) journalSetArray(key, current ? *current : PackedArray(after.layout()), after);
    n->mutablePacked(key.slot) = std::move(after);
    storedChanged(key);
    return true;
}

bool Database::elementsConnectedFrom(const AttrKey& arrayKey, int first) const {
    const Node* n = node(arrayKey.node);
    if (!n->mayHaveInput(arrayKey.slot) && !n->mayHaveOutput(arrayKey.slot)) return false;
    const int fields = static_cast<int>(n->slotDef(arrayKey.slot)->children.size());
    for (int e = first; e < n->arraySize(arrayKey.slot); ++e)
        for (int c = -1; c < fields; ++c)
            if (m_inputs.count(arrayKey.withElement(e, c)) || hasOutputs(arrayKey.withElement(e, c))) return true;
    return false;
}

bool Database::insertElement(const AttrKey& arrayKey, int index, const Value& element) {
    const AttributeDef* def = attributeDef(arrayKey);
    if (!def || !isArrayKey(arrayKey) || def->has(Computed) || m_inputs.count(arrayKey)) return false;
    Node* n = node(arrayKey.node);
    if (!n->isPackedSlot(arrayKey.slot) || index < 0 || index > n->arraySize(arrayKey.slot)) return false;
    if (elementsConnectedFrom(arrayKey, index)) return false;
    Value converted;
    if (!coerce(*def, true, Value(ValueList{element}), converted)) return false;
    PackedArray one(*n->def().slot(arrayKey.slot).packed);
    if (!one.assign(converted.get<ValueList>())) return false;
    ImplicitBlock block(*this);
    doElements(true, arrayKey, index, one);
    journalElements(true, arrayKey, index, std::move(one));
    return true;
}

bool Database::removeElement(const AttrKey& arrayKey, int index) {
    const AttributeDef* def = attributeDef(arrayKey);
    if (!def || !isArrayKey(arrayKey) || def->has(Computed) || m_inputs.count(arrayKey)) return false;
    Node* n = node(arrayKey.node);
    if (!n->isPackedSlot(arrayKey.slot) || index < 0 || index >= n->arraySize(arrayKey.slot)) return false;
    if (elementsConnectedFrom(arrayKey, index)) return false;
    ImplicitBlock block(*this);
    PackedArray gone = n->packed(arrayKey.slot)->slice(index, 1);
    doElements(false, arrayKey, index, gone);
    journalElements(false, arrayKey, index, std::move(gone));
    return true;
}

void Database::doElements(bool insert, const AttrKey& arrayKey, int index, const PackedArray& elements) {
    PackedArray& stored = node(arrayKey.node)->mutablePacked(arrayKey.slot);
    if (insert) stored.insertRange(index, elements);
    else stored.eraseRange(index, elements.size());
    storedChanged(arrayKey);
}

void Database::disconnectElementsFrom(const AttrKey& key, const AttributeDef& def, int firstGone) {
    // Elements that disappear lose their connections first.
    for (int e = firstGone; e < arraySize(key); ++e) {
        std::vector<AttrKey> ends{key.withElement(e)};
        for (int c = 0; c < static_cast<int>(def.children.size()); ++c) ends.push_back(key.withElement(e, c));
        for (const AttrKey& end : ends) {
            if (m_inputs.count(end)) disconnect(end);
            std::vector<AttrKey> outs;
            outputs(end, outs);
            for (const AttrKey& o : outs) disconnect(o);
        }
    }
}

}  // namespace db
