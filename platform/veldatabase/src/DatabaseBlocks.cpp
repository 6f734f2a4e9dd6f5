// Change blocks, the journal, notification rounds, undo and redo.
#include <veldatabase/Database.h>

#include "Journal.h"

#include <algorithm>

namespace db {

namespace {

const char* defaultStepName(const std::vector<JournalOp>& ops) {
    using K = JournalOp::Kind;
    bool allSame = true;
    for (const JournalOp& op : ops) allSame = allSame && op.kind == ops.front().kind;
    if (!allSame || ops.empty()) return "Edit";
    switch (ops.front().kind) {
    case K::SetValue: return "Set Value";
    case K::Attach: return "Create";
    case K::Detach: return "Delete";
    case K::Rename: return "Rename";
    case K::Reparent: return "Parent";
    case K::Connect: return "Connect";
    case K::Disconnect: return "Disconnect";
    case K::Select: return "Select";
    case K::AddCustom: return "Add Attribute";
    case K::RemoveCustom: return "Remove Attribute";
    }
    return "Edit";
}

}  // namespace

void Database::beginChangeBlock(bool transient) {
    if (m_depth == 0) {
        // A playback round leaves a drag in progress pending: the drag stays one gesture.
        if (!transient && !m_playbackMode && m_transient && !m_notifying) commitTransient();
        m_open = std::make_unique<Pending>();
        m_blockTransient = transient && !m_playbackMode;
        m_blockPlayback = m_playbackMode;
    }
    ++m_depth;
}

bool Database::hasPlayback() const { return m_playback && !m_playback->ops.empty(); }

bool Database::revertPlayback() {
    if (m_depth > 0 || !m_playback) return false;
    std::unique_ptr<Pending> playback = std::move(m_playback);
    m_open = std::make_unique<Pending>();
    m_replaying = true;
    for (auto it = playback->ops.rbegin(); it != playback->ops.rend(); ++it) apply(*it, false);
    m_replaying = false;
    std::shared_ptr<DatabaseChange> change = m_open->change;
    m_open.reset();
    change->setPlayback(true);
    change->setDescription("Stop Simulation");
    if (!change->isEmpty()) deliver(change);
    if (m_playbackEnded) m_playbackEnded(true);
    return true;
}

void Database::keepPlaybackAsUndoStep() {
    std::unique_ptr<Pending> playback = std::move(m_playback);
    if (!playback->ops.empty()) pushUndoStep(PlaybackKeptStepName, std::move(playback->ops));
    if (m_playbackEnded) m_playbackEnded(false);
}

namespace {

// Moving the current frame is a view change, and selecting tolerates objects that come and go:
// neither conflicts with what playback changed.
bool conflictsWithPlayback(const JournalOp& op, const AttrKey& timeKey) {
    if (op.kind == JournalOp::Kind::Select) return false;
    return !(op.kind == JournalOp::Kind::SetValue && op.key == timeKey);
}

bool onlyMovesTheFrame(const std::vector<JournalOp>& ops, const AttrKey& timeKey) {
    if (!timeKey.isValid() || ops.empty()) return false;
    for (const JournalOp& op : ops)
        if (op.kind != JournalOp::Kind::SetValue || !(op.key == timeKey)) return false;
    return true;
}

}  // namespace

void Database::endChangeBlock(const std::string& description) {
    if (m_depth == 0) return;
    if (!description.empty() && (m_depth == 1 || m_open->description.empty())) m_open->description = description;
    if (--m_depth > 0) return;
    finishRound(m_blockTransient, m_open->description);
}

bool Database::cancelChangeBlock() {
    if (m_depth == 0 || !m_open) return false;
    std::unique_ptr<Pending> round = std::move(m_open);
    m_open = std::make_unique<Pending>();  // collects the revert's records, which nobody hears
    const bool wasReplaying = m_replaying;
    m_replaying = true;
    for (auto it = round->ops.rbegin(); it != round->ops.rend(); ++it) apply(*it, false);
    m_replaying = wasReplaying;
    m_open.reset();
    m_depth = 0;
    m_blockPlayback = false;
    return true;
}

bool Database::hasPendingTransient() const { return m_transient && !m_transient->ops.empty(); }

void Database::journal(JournalOp&& op) {
    if (m_replaying || !m_open) return;
    if (m_playback && !m_blockPlayback && conflictsWithPlayback(op, m_timeKey)) keepPlaybackAsUndoStep();
    m_open->ops.push_back(std::move(op));
}

JournalOp* Database::valueRecord(const AttrKey& key, bool inArray, bool& isNew) {
    if (m_replaying || !m_open) return nullptr;
    if (m_playback && !m_blockPlayback && !(key == m_timeKey)) keepPlaybackAsUndoStep();
    // Writes to one attribute coalesce only while no other write to the same array (a whole-array
    // write and its elements' fields) came between them; otherwise replay order matters.
    const std::size_t next = m_open->ops.size();
    auto [it, added] = m_open->valueOps.try_emplace(key, next);
    if (!added) {
        bool interleaved = false;
        if (inArray) {
            auto family = m_open->lastArrayOp.find(key.arrayKey());
            interleaved = family != m_open->lastArrayOp.end() && family->second != it->second;
        }
        if (!interleaved) {
            isNew = false;
            return &m_open->ops[it->second];
        }
        it->second = next;
    }
    JournalOp op;
    op.kind = JournalOp::Kind::SetValue;
    op.key = key;
    if (inArray) m_open->lastArrayOp[key.arrayKey()] = next;
    m_open->ops.push_back(std::move(op));
    isNew = true;
    return &m_open->ops.back();
}

void Database::journalSetValue(const AttrKey& key, const Value& before, const Value& after, bool inArray) {
    bool isNew = false;
    JournalOp* op = valueRecord(key, inArray, isNew);
    if (!op) return;
    if (isNew) op->values().before = before;
    op->values().after = after;
}

void Database::journalSetArray(const AttrKey& key, const PackedArray& before, const PackedArray& after) {
    bool isNew = false;
    JournalOp* op = valueRecord(key, true, isNew);
    if (!op) return;
    if (isNew) op->values().arrayBefore = std::make_unique<PackedArray>(before);
    op->values().arrayAfter = std::make_unique<PackedArray>(after);
}

void Database::journalElements(bool inserted, const AttrKey& arrayKey, int index, PackedArray&& elements) {
    if (m_replaying || !m_open || !m_recording) return;
    if (m_playback && !m_blockPlayback) keepPlaybackAsUndoStep();
    const auto kind = inserted ? JournalOp::Kind::InsertElements : JournalOp::Kind::RemoveElements;
    if (!m_open->ops.empty()) {
        // A run of edits at one place of one array (keys added one after the other, or removed
        // one by one from the same index) grows the record the run began with.
        JournalOp& last = m_open->ops.back();
        if (last.kind == kind && last.key == arrayKey) {
            PackedArray& run = *last.valuePair->elements;
            const int end = last.fromIndex + (inserted ? run.size() : 0);
            if (index == end) {
                run.insertRange(run.size(), elements);
                return;
            }
            if (index == last.fromIndex - (inserted ? 0 : 1)) {
                run.insertRange(0, elements);
                last.fromIndex = index;
                return;
            }
        }
    }
    JournalOp op;
    op.kind = kind;
    op.key = arrayKey;
    op.fromIndex = index;
    op.values().elements = std::make_unique<PackedArray>(std::move(elements));
    m_open->lastArrayOp[arrayKey] = m_open->ops.size();
    m_open->ops.push_back(std::move(op));
}

void Database::finishRound(bool transient, const std::string& description) {
    std::unique_ptr<Pending> round = std::move(m_open);
    UndoStep* step = nullptr;
    std::shared_ptr<DatabaseChange> change = round->change;
    change->setDescription(description);
    if (m_blockPlayback) {
        m_blockPlayback = false;
        if (!m_playback) m_playback = std::make_unique<Pending>();
        for (JournalOp& op : round->ops) m_playback->ops.push_back(std::move(op));
        change->setPlayback(true);
    } else if (transient) {
        // Gather drag rounds: the commit becomes one undo step from the values before the drag.
        if (!m_transient) m_transient = std::make_unique<Pending>();
        for (JournalOp& op : round->ops) {
            if (op.kind == JournalOp::Kind::SetValue && op.key.element >= 0) {
                // Element writes keep their order relative to whole-array writes.
                m_transient->valueOps.erase(op.key.arrayKey());
            } else if (op.kind == JournalOp::Kind::SetValue) {
                auto it = m_transient->valueOps.find(op.key);
                if (it != m_transient->valueOps.end()) {
                    m_transient->ops[it->second].values().after = std::move(op.values().after);
                    m_transient->ops[it->second].values().arrayAfter = std::move(op.values().arrayAfter);
                    continue;
                }
                m_transient->valueOps.emplace(op.key, m_transient->ops.size());
            } else {
                m_transient->valueOps.clear();  // ordering matters again after a structural edit
            }
            m_transient->ops.push_back(std::move(op));
        }
        m_transient->change->merge(*change);
        if (!description.empty()) m_transient->description = description;
        change->setTransient(true);
    } else if (!round->ops.empty() && !onlyMovesTheFrame(round->ops, m_timeKey)) {
        if (m_notifying && m_reactionStep && !m_undo.empty() && m_undo.back().get() == m_reactionStep) {
            // An observer's reaction to the round being delivered: part of that round's step.
            for (JournalOp& op : round->ops) m_reactionStep->ops.push_back(std::move(op));
        } else {
            pushUndoStep(description, std::move(round->ops));
            step = m_undo.back().get();
        }
    }
    if (!change->isEmpty()) deliver(change, step);
}

void Database::pushUndoStep(std::string name, std::vector<JournalOp>&& ops) {
    auto step = std::make_unique<UndoStep>();
    step->serial = m_nextStepSerial++;
    step->name = name.empty() ? defaultStepName(ops) : std::move(name);
    step->ops = std::move(ops);
    m_undo.push_back(std::move(step));
    m_redo.clear();
    if (m_undoLimit > 0 && m_undo.size() > m_undoLimit) m_undo.erase(m_undo.begin());
}

void Database::commitTransient() {
    if (!m_transient || m_depth > 0) return;
    std::unique_ptr<Pending> pending = std::move(m_transient);
    UndoStep* step = nullptr;
    if (!pending->ops.empty()) {
        pushUndoStep(pending->description, std::move(pending->ops));
        step = m_undo.back().get();
    }
    // The final round carries everything the drag changed, so observers that skipped the
    // transient rounds can catch up.
    pending->change->setTransient(false);
    if (!pending->change->isEmpty()) deliver(pending->change, step);
}

std::uint64_t Database::historyPosition() const { return m_undo.empty() ? 0 : m_undo.back()->serial; }

bool Database::canUndo() const { return !m_undo.empty() || hasPendingTransient(); }
bool Database::canRedo() const { return !m_redo.empty() && !hasPendingTransient(); }

std::string Database::undoName() const {
    if (hasPendingTransient()) return m_transient->description.empty() ? "Edit" : m_transient->description;
    return m_undo.empty() ? std::string() : m_undo.back()->name;
}

std::string Database::redoName() const { return m_redo.empty() ? std::string() : m_redo.back()->name; }

void Database::clearUndo() {
    m_undo.clear();
    m_redo.clear();
    m_transient.reset();
    m_playback.reset();
}

bool Database::undo() {
    if (m_depth > 0) return false;
    revertPlayback();
    commitTransient();
    if (m_undo.empty()) return false;
    std::unique_ptr<UndoStep> step = std::move(m_undo.back());
    m_undo.pop_back();
    m_open = std::make_unique<Pending>();
    m_replaying = true;
    for (auto it = step->ops.rbegin(); it != step->ops.rend(); ++it) apply(*it, false);
    m_replaying = false;
    std::shared_ptr<DatabaseChange> change = m_open->change;
    m_open.reset();
    change->setDescription(step->name);
    m_redo.push_back(std::move(step));
    if (!change->isEmpty()) deliver(change);
    return true;
}

bool Database::redo() {
    if (m_depth > 0 || m_redo.empty() || hasPendingTransient()) return false;
    revertPlayback();
    std::unique_ptr<UndoStep> step = std::move(m_redo.back());
    m_redo.pop_back();
    m_open = std::make_unique<Pending>();
    m_replaying = true;
    for (JournalOp& op : step->ops) apply(op, true);
    m_replaying = false;
    std::shared_ptr<DatabaseChange> change = m_open->change;
    m_open.reset();
    change->setDescription(step->name);
    m_undo.push_back(std::move(step));
    if (!change->isEmpty()) deliver(change);
    return true;
}

void Database::apply(JournalOp& op, bool forward) {
    using K = JournalOp::Kind;
    switch (op.kind) {
    case K::SetValue:
        if (op.valuePair->arrayAfter) doSetStoredArray(op.key, forward ? *op.valuePair->arrayAfter : *op.valuePair->arrayBefore);
        else doSetStored(op.key, forward ? op.valuePair->after : op.valuePair->before);
        break;
    case K::Attach:
    case K::Detach: {
        const bool attach = (op.kind == K::Attach) == forward;
        std::vector<std::pair<int, int>> single;
        const std::vector<std::pair<int, int>>* roots = &single;
        int parent = op.kind == K::Attach ? op.toParent : op.fromParent;
        if (op.kind == K::Attach) single.emplace_back(op.toIndex, op.node);
        else roots = &op.payload->roots;
        if (attach) attachRoots(parent, *roots, op.data().owned);
        else detachRoots(parent, *roots, op.data().owned);
        if (op.kind == K::Attach && attach) op.payload.reset();  // the database owns the node again
        break;
    }
    case K::Rename: doRename(op.node, forward ? op.payload->textAfter : op.payload->textBefore); break;
    case K::Reparent:
        if (forward) doReparent(op.node, op.toParent, op.toIndex);
        else doReparent(op.node, op.fromParent, op.fromIndex);
        break;
    case K::Connect:
        if (forward) doConnect(op.key, op.key2);
        else doDisconnect(op.key2);
        break;
    case K::Disconnect:
        if (forward) doDisconnect(op.key2);
        else doConnect(op.key, op.key2);
        break;
    case K::Select: doSelect(forward ? op.payload->idsAfter : op.payload->idsBefore); break;
    case K::AddCustom:
        if (forward) doAddCustom(op.node, op.key.slot, op.payload->customDef, op.valuePair->after);
        else doRemoveCustom(op.node, op.key.slot, op.payload->customDef, op.valuePair->after);
        break;
    case K::RemoveCustom: doSetCustomRemoved(op.node, op.key.slot, forward); break;
    case K::InsertElements:
    case K::RemoveElements:
        doElements((op.kind == K::InsertElements) == forward, op.key, op.fromIndex, *op.valuePair->elements);
        break;
    }
}

}  // namespace db
