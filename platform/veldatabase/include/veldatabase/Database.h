#pragma once

#include <veldatabase/AttrKey.h>
#include <veldatabase/DatabaseChange.h>
#include <veldatabase/DatabaseObserver.h>
#include <veldatabase/Node.h>
#include <veldatabase/NodeDef.h>
#include <veldatabase/Value.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace db {

class NameIndex;
class PackedArray;
struct JournalOp;
struct UndoStep;

// The scene database: nodes, their attribute values, connections, the selection, change blocks
// with notification, undo and redo, and pull-based evaluation of computed attributes.
//
// Every mutation is recorded in the open change block; a mutation outside any block runs in a
// block of its own. Only the outermost block notifies and becomes one undo step.
class Database {
public:
    static constexpr int RootId = 0;

    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Node types known to this database (by type name).
    void registerType(const NodeDef& def);
    const NodeDef* findType(const std::string& typeName) const;
    std::vector<const NodeDef*> types() const;
    const NodeDef& rootType() const;

    // Objects.
    int create(const NodeDef& def, const std::string& name, int parent = RootId);
    const Node* node(int id) const;
    Node* node(int id);
    bool isAlive(int id) const { return node(id) != nullptr; }
    std::size_t nodeCount() const { return m_liveCount; }
    int idLimit() const { return static_cast<int>(m_nodes.size()); }
    int findChild(int parent, const std::string& name) const;
    int findPath(const std::string& path) const;
    std::string path(int id) const;
    bool isAncestor(int ancestor, int id) const;
    bool setParent(int id, int newParent, int index = -1);
    // Renames to a sanitised name unique among the siblings; returns the name given, "" on failure.
    std::string rename(int id, const std::string& name);
    bool remove(int id);
    bool remove(const std::vector<int>& ids);
    // Removes every object but the root, and forgets undo history. Ids are never reused.
    void reset();
    static std::string sanitizeName(const std::string& name);

    // Attribute values.
    const AttributeDef* attributeDef(const AttrKey& key) const;
    bool isValidKey(const AttrKey& key) const { return attributeDef(key) != nullptr; }
    bool isArrayKey(const AttrKey& key) const;
    ValueType valueType(const AttrKey& key) const;
    Value value(const AttrKey& key) const;        // evaluated: follows inputs, computes outputs
    Value storedValue(const AttrKey& key) const;  // the node's own value
    bool setValue(const AttrKey& key, const Value& value);
    // The same; a whole array written into an empty one while recording is off (a scene built
    // aside) is moved in when it is already in the stored form.
    bool setValue(const AttrKey& key, Value&& value);
    int arraySize(const AttrKey& key) const;
    // Writes a whole array of numbers (animation keys) in its packed form, without a list of
    // values in between. The elements must be valid for the attribute (choices in range); false
    // when the attribute is no such array, is driven by a connection, or has another layout.
    bool setArray(const AttrKey& key, PackedArray&& elements);
    // Inserts one element into an array of numbers (an animation key) before `index`, or removes
    // the element at `index`; the elements after it move. Journaled as the edit itself, and
    // consecutive edits of one array in a block as one record, so that keying a curve key by key
    // costs no copies of its keys. Refused (false) where an element from `index` on takes part in
    // a connection, which the move would change.
    bool insertElement(const AttrKey& arrayKey, int index, const Value& element);
    bool removeElement(const AttrKey& arrayKey, int index);
    bool resizeArray(const AttrKey& key, int size);
    int addCustomAttribute(int id, AttributeDef def);  // returns the new slot, -1 on failure
    bool removeCustomAttribute(int id, int slot);
    bool isRemovedCustomSlot(int id, int slot) const;

    // Connections: one source per input; an object reference is a connection from the
    // referenced object's message attribute (slot 0).
    bool connect(const AttrKey& source, const AttrKey& destination, std::string* reason = nullptr);
    static constexpr const char* LoopProblem = "the connection would make a cycle";
    bool disconnect(const AttrKey& destination);
    AttrKey input(const AttrKey& destination) const;
    void outputs(const AttrKey& source, std::vector<AttrKey>& out) const;
    bool hasOutputs(const AttrKey& source) const;
    void connections(int id, std::vector<std::pair<AttrKey, AttrKey>>& out) const;
    void forEachConnection(const std::function<void(const AttrKey&, const AttrKey&)>& visit) const;
    static bool isMessageKey(const AttrKey& key) { return key.slot == 0 && key.element < 0; }

    // Selection, in selection order.
    const std::vector<int>& selection() const { return m_selection; }
    bool isSelected(int id) const;
    void setSelection(const std::vector<int>& ids);

    // Change blocks.
    void beginChangeBlock(bool transient = false);
    void endChangeBlock(const std::string& description = {});
    void commitTransient();
    // Reverts everything done since the outermost open block began and closes every level,
    // without a notification or an undo step (a failed script leaves the scene as it found it).
    bool cancelChangeBlock();
    int blockDepth() const { return m_depth; }
    bool hasPendingTransient() const;

    // Playback rounds (a running simulation): while playback mode is on, every outermost block is a
    // playback round: notified like any round, flagged as playback, kept out of undo and reverted
    // all at once by revertPlayback(). A round that edits the scene by other
    // means while playback rounds are kept first turns them into one undo step named `keptName`, so
    // that the edit applies on top of what the user sees and stays undoable; undo and redo first
    // revert them. `onPlaybackEnded` hears either (true: reverted, false: kept).
    void setPlaybackMode(bool on) { m_playbackMode = on; }
    bool hasPlayback() const;
    bool revertPlayback();
    void setPlaybackEndedHandler(std::function<void(bool reverted)> handler) { m_playbackEnded = std::move(handler); }
    static constexpr const char* PlaybackKeptStepName = "Simulation";

    // Undo and redo.
    bool canUndo() const;
    bool canRedo() const;
    std::string undoName() const;
    std::string redoName() const;
    std::size_t undoCount() const { return m_undo.size(); }
    // Where the history stands: the same number means the same sequence of done steps (undo back
    // to a saved state and the position is the saved one again). 0 with nothing to undo.
    std::uint64_t historyPosition() const;
    bool undo();
    bool redo();
    void clearUndo();
    void setUndoLimit(std::size_t steps) { m_undoLimit = steps; }

    // Observers may add or remove observers and edit the database while being told; such edits
    // reach observers after the current round, and join the undo step of the round that caused
    // them (a panel that follows a selection is part of that selection's step).
    void addObserver(DatabaseObserver* observer);
    void removeObserver(DatabaseObserver* observer);

    // Evaluation: the attribute that holds the current time drives time-dependent outputs.
    void setTimeKey(const AttrKey& key) { m_timeKey = key; }
    const AttrKey& timeKey() const { return m_timeKey; }
    std::uint64_t computeCount() const { return m_computeCount; }
    // Attributes the loop checks of connections have visited, in every database of the process
    // (a scene is loaded into one of its own): tells linear work from quadratic.
    static std::uint64_t loopCheckSteps();

    // Database-wide integer ids of attributes, stable for the session.
    int attributeId(const AttrKey& key) const;
    AttrKey attributeKey(int id) const;

    // Bulk building (DatabaseBulk.cpp): a whole scene is built aside, then swapped in at once.
    // With recording off, edits are neither journaled nor gathered into change rounds: they cannot
    // be undone and observers are not told. Switching clears undo and redo. Refused (false) while
    // a change block is open.
    bool setRecording(bool on);
    bool isRecording() const { return m_recording; }
    // The next object created gets at least this id (so that ids from another database are never
    // handed out again once the contents move there).
    void reserveIds(int firstId);
    // Exchanges the contents with `other`: objects, names, connections, the selection, the time key
    // and evaluation state. Registered types, observers and settings stay put; observers are not
    // told. Undo and redo of both are cleared. Refused (false) while either has an open block.
    bool takeContents(Database& other);
    // Makes many connections at once, as a scene read from a file needs: each link is checked as
    // connect() checks it, but loops are looked for over all the links together, so a long chain
    // of connections costs time in proportion to its length. Links are made in order up to the
    // first that connect() would refuse (or whose destination already has an input); returns its
    // index, links.size() when every link is made.
    std::size_t connectAll(const std::vector<std::pair<AttrKey, AttrKey>>& links, std::string* reason = nullptr);

private:
    friend struct JournalOp;
    struct Pending;

    // Primitive mutations: each records the change and, unless replaying, a journal entry.
    void attachRoots(int parent, const std::vector<std::pair<int, int>>& roots,
                     std::vector<std::unique_ptr<Node>>& owned);
    void detachRoots(int parent, const std::vector<std::pair<int, int>>& roots,
                     std::vector<std::unique_ptr<Node>>& owned);
    // Removes the roots (index in the list, id) from a child list, ascending index.
    static void unlinkChildren(std::vector<int>& kids, const std::vector<std::pair<int, int>>& roots);
    void doRename(int id, const std::string& name);
    void renameJournaled(int id, const std::string& name);
    void pushUndoStep(std::string name, std::vector<JournalOp>&& ops);
    void doReparent(int id, int newParent, int index);
    void doSetStored(const AttrKey& key, const Value& value);
    void doSetStoredArray(const AttrKey& key, const PackedArray& elements);
    // What every stored write tells: the change record, dirtiness, and time-dependent outputs.
    void storedChanged(const AttrKey& key);
    bool setPackedArray(const AttrKey& key, const AttributeDef& def, const Value& list);
    bool replacePackedArray(const AttrKey& key, const AttributeDef& def, PackedArray&& after);
    // Disconnects the elements from `firstGone` on of an array that is about to shrink.
    void disconnectElementsFrom(const AttrKey& key, const AttributeDef& def, int firstGone);
    void doConnect(const AttrKey& source, const AttrKey& destination);
    void doDisconnect(const AttrKey& destination);
    // The input tables alone: no change record, no dirtiness.
    void linkInput(const AttrKey& source, const AttrKey& destination);
    // A node with up to this many links on one side answers from its own lists.
    static constexpr std::size_t LinksKeptByNode = 8;
    const AttrKey* inputOf(const Node& n, const AttrKey& destination) const;
    template <class Visit> void forEachOutput(const Node& n, const AttrKey& source, Visit&& visit) const;
    void unlinkInput(const AttrKey& destination);
    void doSelect(const std::vector<int>& ids);
    void doAddCustom(int id, int slot, std::unique_ptr<AttributeDef>& def, const Value& value);
    void doRemoveCustom(int id, int slot, std::unique_ptr<AttributeDef>& def, Value& value);
    void doSetCustomRemoved(int id, int slot, bool removed);

    void journal(JournalOp&& op);
    // `inArray`: the key is an array, one of its elements or an element's field, whose writes must
    // keep their order in the journal.
    void journalSetValue(const AttrKey& key, const Value& before, const Value& after, bool inArray);
    void journalSetArray(const AttrKey& key, const PackedArray& before, const PackedArray& after);
    void journalElements(bool inserted, const AttrKey& arrayKey, int index, PackedArray&& elements);
    void doElements(bool insert, const AttrKey& arrayKey, int index, const PackedArray& elements);
    // Whether an element of the array from `first` on is an end of a connection.
    bool elementsConnectedFrom(const AttrKey& arrayKey, int first) const;
    // The record a value write fills: a new one (isNew: it needs the value before too) or the
    // block's earlier record of the same attribute; null while nothing is journaled.
    JournalOp* valueRecord(const AttrKey& key, bool inArray, bool& isNew);
    void apply(JournalOp& op, bool forward);
    void ensureBlock();
    void closeImplicitBlock();
    void finishRound(bool transient, const std::string& description);
    void keepPlaybackAsUndoStep();
    void deliver(std::shared_ptr<DatabaseChange> change, UndoStep* step = nullptr);
    void markDirty(const AttrKey& key);
    void markDirty(const AttrKey* seeds, std::size_t count);
    void recordKey(const AttrKey& key);
    void collectSubtree(int root, std::vector<int>& out) const;
    void disconnectAll(int id);
    void upstream(const AttrKey& key, std::vector<AttrKey>& out) const;
    bool dependsOn(const AttrKey& from, const AttrKey& target) const;
    static void countLoopCheckStep();
    // Why connect() would refuse the link; null when it would make it.
    const char* connectionProblem(const AttrKey& source, const AttrKey& destination, bool checkLoop) const;
    // Whether the inputs as they are close a loop through one of these links' destinations.
    bool hasLoopThrough(const std::vector<std::pair<AttrKey, AttrKey>>& links, std::size_t count) const;
    int topLevelOf(const Node& n, int slot) const;
    std::string uniqueName(int parent, const std::string& wanted, int self) const;
    bool coerce(const AttributeDef& def, bool wholeArray, const Value& in, Value& out) const;
    void selectionRemove(const std::unordered_set<int>& ids);

    std::map<std::string, const NodeDef*> m_types;
    std::vector<std::unique_ptr<Node>> m_nodes;  // indexed by id; null once deleted
    std::size_t m_liveCount = 0;
    std::unique_ptr<NameIndex> m_names;
    std::unordered_map<AttrKey, AttrKey, AttrKeyHash> m_inputs;
    std::unordered_map<AttrKey, std::vector<AttrKey>, AttrKeyHash> m_outputs;
    std::vector<int> m_selection;
    std::unordered_set<int> m_timeNodes;
    // The time-dependent outputs of m_timeNodes, gathered again after it changed.
    mutable std::vector<AttrKey> m_timeOutputs;
    mutable bool m_timeOutputsStale = true;
    AttrKey m_timeKey;

    mutable std::size_t m_cachedCount = 0;  // computed values held in the nodes' caches
    mutable std::uint64_t m_computeCount = 0;
    mutable std::unordered_map<AttrKey, int, AttrKeyHash> m_extraAttributeIds;
    mutable std::vector<AttrKey> m_extraAttributeKeys;

    // Open block state.
    int m_depth = 0;
    bool m_blockTransient = false;
    bool m_blockPlayback = false;
    bool m_playbackMode = false;
    bool m_replaying = false;
    bool m_recording = true;  // off: no journal, no change records (bulk building)
    std::vector<AttrKey> m_dirtyStack;  // markDirty's work list
    std::unique_ptr<Pending> m_open;       // journal and change of the open outermost block
    std::unique_ptr<Pending> m_transient;  // transient rounds not yet committed
    std::unique_ptr<Pending> m_playback;   // playback rounds since playing started
    std::function<void(bool)> m_playbackEnded;
    std::vector<std::unique_ptr<UndoStep>> m_undo;
    std::vector<std::unique_ptr<UndoStep>> m_redo;
    std::size_t m_undoLimit = 0;  // 0 = unlimited
    std::uint64_t m_nextStepSerial = 1;

    std::vector<DatabaseObserver*> m_observers;
    std::deque<std::pair<std::shared_ptr<DatabaseChange>, UndoStep*>> m_queue;
    UndoStep* m_reactionStep = nullptr;  // the step of the round being delivered
    bool m_notifying = false;
};

}  // namespace db
