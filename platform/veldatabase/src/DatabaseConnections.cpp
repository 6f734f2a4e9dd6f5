// Connections: making and removing them, the loop checks, and what feeds what.
#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>

#include "ImplicitBlock.h"
#include "Journal.h"

#include <algorithm>

namespace db {

const AttrKey* Database::inputOf(const Node& n, const AttrKey& destination) const {
    if (n.m_inputLinks.size() <= LinksKeptByNode) {
        for (const auto& [end, source] : n.m_inputLinks)
            if (end == destination) return &source;
        return nullptr;
    }
    auto in = m_inputs.find(destination);
    return in == m_inputs.end() ? nullptr : &in->second;
}

AttrKey Database::input(const AttrKey& destination) const {
    auto it = m_inputs.find(destination);
    return it == m_inputs.end() ? AttrKey{} : it->second;
}

void Database::outputs(const AttrKey& source, std::vector<AttrKey>& out) const {
    auto it = m_outputs.find(source);
    if (it != m_outputs.end()) out.insert(out.end(), it->second.begin(), it->second.end());
}

bool Database::hasOutputs(const AttrKey& source) const {
    auto it = m_outputs.find(source);
    return it != m_outputs.end() && !it->second.empty();
}

void Database::connections(int id, std::vector<std::pair<AttrKey, AttrKey>>& out) const {
    const Node* n = node(id);
    if (!n || n->m_connections == 0) return;
    auto visit = [&](const AttrKey& k) {
        auto in = m_inputs.find(k);
        if (in != m_inputs.end()) out.emplace_back(in->second, k);
        auto o = m_outputs.find(k);
        if (o != m_outputs.end())
            for (const AttrKey& d : o->second) out.emplace_back(k, d);
    };
    for (int s = 0; s < n->slotCount(); ++s) {
        AttrKey k{id, s};
        visit(k);
        const AttributeDef* def = n->slotDef(s);
        if (!def || !def->isArray) continue;
        const int size = n->arraySize(s);
        for (int e = 0; e < size; ++e) {
            visit(k.withElement(e));
            for (int c = 0; c < static_cast<int>(def->children.size()); ++c) visit(k.withElement(e, c));
        }
    }
}

void Database::forEachConnection(const std::function<void(const AttrKey&, const AttrKey&)>& visit) const {
    for (const auto& [dst, src] : m_inputs) visit(src, dst);
}

void Database::upstream(const AttrKey& key, std::vector<AttrKey>& out) const {
    const Node* n = node(key.node);
    const AttributeDef* def = attributeDef(key);
    if (!n || !def) return;
    auto in = m_inputs.find(key);
    if (in != m_inputs.end() && !isMessageKey(in->second)) out.push_back(in->second);
    if (isArrayKey(key) && n->m_inputs > 0) {
        for (int e = 0; e < arraySize(key); ++e) {
            out.push_back(key.withElement(e));
            for (int c = 0; c < static_cast<int>(def->children.size()); ++c) out.push_back(key.withElement(e, c));
        }
    }
    if (key.element >= 0 && key.child < 0 && n->m_inputs > 0) {
        for (int c = 0; c < static_cast<int>(def->children.size()); ++c) out.push_back(key.withElement(key.element, c));
    }
    if (!n->isCustomSlot(key.slot) && key.element < 0 && def->type == ValueType::Compound && !def->isArray) {
        const SlotInfo& info = n->def().slot(key.slot);
        for (int c = 0; c < info.childCount; ++c) out.push_back(AttrKey{key.node, info.firstChild + c});
    }
    if (!def->has(Computed)) return;
    // A computed value depends on every input of its node, its parent link and the time.
    for (int s = 0; s < n->slotCount(); ++s) {
        const AttributeDef* d = n->slotDef(s);
        if (d && s != key.slot && (!d->has(Computed) || n->def().slot(s).parent < 0)) out.push_back(AttrKey{key.node, s});
    }
    for (const auto& [parentSlot, own] : n->def().parentLinks())
        if (own == key.slot && n->m_parent >= 0) out.push_back(AttrKey{n->m_parent, parentSlot});
    if (def->has(TimeDependent) && m_timeKey.isValid()) out.push_back(m_timeKey);
}

bool Database::dependsOn(const AttrKey& from, const AttrKey& target) const {
    std::vector<AttrKey> stack{from};
    std::unordered_set<AttrKey, AttrKeyHash> seen{from};
    while (!stack.empty()) {
        AttrKey k = stack.back();
        stack.pop_back();
        countLoopCheckStep();
        // Reaching the target, or an array or element that holds it, closes a loop.
        if (k.node == target.node && k.slot == target.slot &&
            (k.element < 0 || (k.element == target.element && (k.child < 0 || k.child == target.child))))
            return true;
        std::size_t before = stack.size();
        upstream(k, stack);
        // Keep only keys not seen yet.
        std::size_t write = before;
        for (std::size_t i = before; i < stack.size(); ++i)
            if (seen.insert(stack[i]).second) stack[write++] = stack[i];
        stack.resize(write);
    }
    return false;
}

const char* Database::connectionProblem(const AttrKey& source, const AttrKey& destination, bool checkLoop) const {
    const AttributeDef* src = attributeDef(source);
    const AttributeDef* dst = attributeDef(destination);
    if (!src || !dst) return "no such attribute";
    if (source == destination) return "an attribute cannot feed itself";
    if (dst->has(Computed) || dst->has(Internal)) return "the destination is computed by its object";
    if (!dst->has(Assigned)) return "the destination does not take inputs";
    if (isMessageKey(source)) {
        if (dst->type != ValueType::ObjectRef || isArrayKey(destination)) return "only an object reference can refer to an object";
        if (!dst->refType.empty() && !node(source.node)->def().isA(dst->refType)) return "the object is not of the referenced type";
        return nullptr;
    }
    const bool numericDrive = src->has(NumericOutput) && isNumeric(dst->type) && !isArrayKey(destination);
    if ((src->type != dst->type && !numericDrive) || isArrayKey(source) != isArrayKey(destination))
        return "the attribute types differ";
    if (src->type == ValueType::Compound || src->type == ValueType::ObjectRef)
        return "compounds and references connect through their fields and objects";
    if (checkLoop && dependsOn(source, destination)) return LoopProblem;
    return nullptr;
}

bool Database::connect(const AttrKey& source, const AttrKey& destination, std::string* reason) {
    if (const char* problem = connectionProblem(source, destination, true)) {
        if (reason) *reason = problem;
        return false;
    }
    AttrKey existing = input(destination);
    if (existing == source) return true;
    ImplicitBlock block(*this);
    if (existing.isValid()) disconnect(destination);
    JournalOp op;
    op.kind = JournalOp::Kind::Connect;
    op.key = source;
    op.key2 = destination;
    doConnect(source, destination);
    journal(std::move(op));
    return true;
}

bool Database::disconnect(const AttrKey& destination) {
    AttrKey source = input(destination);
    if (!source.isValid()) return false;
    ImplicitBlock block(*this);
    JournalOp op;
    op.kind = JournalOp::Kind::Disconnect;
    op.key = source;
    op.key2 = destination;
    doDisconnect(destination);
    journal(std::move(op));
    return true;
}

void Database::disconnectAll(int id) {
    std::vector<std::pair<AttrKey, AttrKey>> links;
    connections(id, links);
    for (const auto& link : links) disconnect(link.second);
}

void Database::doConnect(const AttrKey& source, const AttrKey& destination) {
    linkInput(source, destination);
    if (m_recording) m_open->change->recordConnection(true, isMessageKey(source));
    markDirty(destination);
}

void Database::doDisconnect(const AttrKey& destination) {
    auto in = m_inputs.find(destination);
    if (in == m_inputs.end()) return;
    const AttrKey source = in->second;
    unlinkInput(destination);
    if (m_recording) m_open->change->recordConnection(false, isMessageKey(source));
    markDirty(destination);
}

void Database::linkInput(const AttrKey& source, const AttrKey& destination) {
    m_inputs[destination] = source;
    m_outputs[source].push_back(destination);
    Node* s = node(source.node);
    ++s->m_connections;
    s->m_outputLinks.emplace_back(source, destination);
    s->m_outputSlots |= std::uint64_t{1} << (source.slot < 63 ? source.slot : 63);
    Node* d = node(destination.node);
    ++d->m_connections;
    ++d->m_inputs;
    d->m_inputLinks.emplace_back(destination, source);
    d->m_inputSlots |= std::uint64_t{1} << (destination.slot < 63 ? destination.slot : 63);
    d->m_evaluationMemo = -1;
}

void Database::unlinkInput(const AttrKey& destination) {
    auto in = m_inputs.find(destination);
    if (in == m_inputs.end()) return;
    AttrKey source = in->second;
    m_inputs.erase(in);
    auto out = m_outputs.find(source);
    if (out != m_outputs.end()) {
        auto& list = out->second;
        // Links being tried are taken back last made, first undone.
        if (list.back() == destination) list.pop_back();
        else list.erase(std::remove(list.begin(), list.end(), destination), list.end());
        if (list.empty()) m_outputs.erase(out);
    }
    auto forget = [](std::vector<std::pair<AttrKey, AttrKey>>& links, const AttrKey& end, const AttrKey& other) {
        for (std::size_t i = links.size(); i-- > 0;)
            if (links[i].first == end && links[i].second == other) {
                links.erase(links.begin() + static_cast<std::ptrdiff_t>(i));
                break;
            }
    };
    if (Node* s = node(source.node)) {
        forget(s->m_outputLinks, source, destination);
        if (--s->m_connections == s->m_inputs) s->m_outputSlots = 0;
    }
    if (Node* d = node(destination.node)) {
        forget(d->m_inputLinks, destination, source);
        --d->m_connections;
        if (--d->m_inputs == 0) d->m_inputSlots = 0;
        d->m_evaluationMemo = -1;
    }
}

}  // namespace db
