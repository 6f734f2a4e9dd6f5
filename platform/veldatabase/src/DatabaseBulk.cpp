// Bulk building and whole-contents exchange: a scene is built aside without journal or change
// records, then moved into the live database in constant time.
#include "ImplicitBlock.h"
#include "Journal.h"

#include <veldatabase/Database.h>

#include <algorithm>
#include <atomic>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace db {

namespace {
std::atomic<std::uint64_t> loopCheckStepCount{0};
}  // namespace

void Database::countLoopCheckStep() { loopCheckStepCount.fetch_add(1, std::memory_order_relaxed); }

std::uint64_t Database::loopCheckSteps() { return loopCheckStepCount.load(std::memory_order_relaxed); }

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
    m_timeOutputsStale = other.m_timeOutputsStale = true;
    std::swap(m_timeKey, other.m_timeKey);
    std::swap(m_cachedCount, other.m_cachedCount);
    std::swap(m_extraAttributeIds, other.m_extraAttributeIds);
    std::swap(m_extraAttributeKeys, other.m_extraAttributeKeys);
    return true;
}

namespace {

// Whether a value is already in the form coerce() would give it: of the attribute's own kind.
bool inStoredForm(const AttributeDef& def, const Value& v) {
    switch (def.type) {
    case ValueType::Int: return v.is<std::int32_t>();
    case ValueType::Enum:
        return v.is<std::int32_t>() && v.get<std::int32_t>() >= 0 &&
               (def.enumNames.empty() || v.get<std::int32_t>() < static_cast<std::int32_t>(def.enumNames.size()));
    case ValueType::Bool: return v.is<bool>();
    case ValueType::Float: return v.is<float>();
    case ValueType::Double: return v.is<double>();
    case ValueType::String: return v.is<std::string>();
    case ValueType::Vector: return v.is<Velutils::Vec3>();
    case ValueType::Quaternion: return v.is<Velutils::Quat>();
    case ValueType::Matrix: return v.is<Velutils::Matrix4>();
    case ValueType::Compound: {
        const ValueList* fields = v.tryGet<ValueList>();
        if (!fields || fields->size() != def.children.size()) return false;
        for (std::size_t c = 0; c < fields->size(); ++c)
            if (!inStoredForm(def.children[c], (*fields)[c])) return false;
        return true;
    }
    default: return false;
    }
}

}  // namespace

bool Database::setValue(const AttrKey& key, Value&& v) {
    // A whole array for an empty one, already in the stored form, while nothing is journaled or
    // gathered (a scene built aside from a file): moved in, so a large one is never held twice.
    const ValueList* list = v.tryGet<ValueList>();
    if (!list || m_recording || key.element >= 0) return setValue(key, static_cast<const Value&>(v));
    const AttributeDef* def = attributeDef(key);
    const bool movable = def && isArrayKey(key) && !def->has(Computed) &&
                         def->type != ValueType::ObjectRef && arraySize(key) == 0 && !m_inputs.count(key) &&
                         std::all_of(list->begin(), list->end(), [&](const Value& e) { return inStoredForm(*def, e); });
    if (!movable) return setValue(key, static_cast<const Value&>(v));
    if (list->empty()) return true;
    ImplicitBlock block(*this);
    node(key.node)->store(key.slot, std::move(v));
    markDirty(key);
    return true;
}

std::size_t Database::connectAll(const std::vector<std::pair<AttrKey, AttrKey>>& links, std::string* reason) {
    ImplicitBlock block(*this);
    // Every check but the loop, in order, up to the first link refused.
    std::size_t usable = links.size();
    const char* problem = nullptr;
    std::unordered_set<AttrKey, AttrKeyHash> fed;
    for (std::size_t i = 0; i < links.size() && !problem; ++i) {
        problem = connectionProblem(links[i].first, links[i].second, false);
        if (!problem && (input(links[i].second).isValid() || !fed.insert(links[i].second).second))
            problem = "the destination already has an input";
        if (problem) usable = i;
    }
    // Links are tried in the input tables alone: they may close a loop until the search is over.
    std::size_t made = 0;
    const auto makeFirst = [&](std::size_t count) {
        for (; made > count; --made) unlinkInput(links[made - 1].second);
        for (; made < count; ++made) linkInput(links[made].first, links[made].second);
    };
    makeFirst(usable);
    if (usable > 0 && hasLoopThrough(links, usable)) {
        // The first link that closes a loop ends the shortest run of links with one.
        std::size_t low = 0, high = usable - 1;
        while (low < high) {
            const std::size_t middle = low + (high - low) / 2;
            makeFirst(middle + 1);
            if (hasLoopThrough(links, middle + 1)) high = middle;
            else low = middle + 1;
        }
        makeFirst(low);
        usable = low;
        problem = LoopProblem;
    }
    std::vector<AttrKey> destinations;
    destinations.reserve(made);
    for (std::size_t i = 0; i < made; ++i) {
        if (m_recording) m_open->change->recordConnection(true, isMessageKey(links[i].first));
        destinations.push_back(links[i].second);
        JournalOp op;
        op.kind = JournalOp::Kind::Connect;
        op.key = links[i].first;
        op.key2 = links[i].second;
        journal(std::move(op));
    }
    markDirty(destinations.data(), destinations.size());
    if (problem && reason) *reason = problem;
    return usable;
}

// The attributes reachable up the inputs from the links' destinations, grouped into strongly
// connected components (Tarjan's algorithm, without recursion: chains may be long). The inputs
// relation links an object's computed attributes with each other, so it has loops of its own; a
// link closes a real loop when its source can reach its destination again, which is when both
// fall in one component. Each attribute is visited once.
bool Database::hasLoopThrough(const std::vector<std::pair<AttrKey, AttrKey>>& links, std::size_t count) const {
    struct Visit {
        std::size_t order, low, component;
        bool onStack;
    };
    constexpr std::size_t None = static_cast<std::size_t>(-1);
    std::unordered_map<AttrKey, Visit, AttrKeyHash> visits;
    std::vector<AttrKey> edges;  // the inputs of every visited attribute, one run after another
    struct Frame {
        AttrKey key;
        std::size_t next, end;  // its run in `edges`
    };
    std::vector<Frame> frames;
    std::vector<AttrKey> open;  // visited attributes not yet in a component
    std::size_t visited = 0, components = 0;
    const auto enter = [&](const AttrKey& key) {
        visits.emplace(key, Visit{visited, visited, None, true});
        ++visited;
        countLoopCheckStep();
        open.push_back(key);
        const std::size_t begin = edges.size();
        upstream(key, edges);
        frames.push_back({key, begin, edges.size()});
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (visits.count(links[i].second)) continue;
        enter(links[i].second);
        while (!frames.empty()) {
            Frame& frame = frames.back();
            Visit& visit = visits.at(frame.key);
            if (frame.next < frame.end) {
                const AttrKey up = edges[frame.next++];
                auto found = visits.find(up);
                if (found == visits.end()) enter(up);
                else if (found->second.onStack) visit.low = std::min(visit.low, found->second.order);
                continue;
            }
            if (visit.low == visit.order) {
                AttrKey member;
                do {
                    member = open.back();
                    open.pop_back();
                    Visit& m = visits.at(member);
                    m.onStack = false;
                    m.component = components;
                } while (!(member == frame.key));
                ++components;
            }
            const std::size_t low = visit.low;
            frames.pop_back();
            if (!frames.empty()) {
                Visit& parent = visits.at(frames.back().key);
                parent.low = std::min(parent.low, low);
            }
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        auto source = visits.find(links[i].first);
        if (source != visits.end() && source->second.component == visits.at(links[i].second).component) return true;
    }
    return false;
}

}  // namespace db
