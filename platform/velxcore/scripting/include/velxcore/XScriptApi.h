#pragma once

#include <veldatabase/Value.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace VelX {

class XScene;
class XScriptBudget;

// A script's mistake (a wrong path, attribute or value): the bindings turn it into an error of the
// script's own language, which then names the script and line.
class XScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The scene operations of the `velx` script module, shared by the Lua and Python bindings so that
// both languages behave the same. Paths are object paths ("Hero/Hips"); values travel as db::Value
// (nil, bool, int, float/double, string, lists for vectors, matrices and arrays).
//
// With a budget, every operation charges what it adds to the scene before adding it, and the
// operations that walk the scene check the clock as they go (XScriptStop ends the run).
class XScriptApi {
public:
    explicit XScriptApi(XScene& scene, XScriptBudget* budget = nullptr) : m_scene(scene), m_budget(budget) {}

    bool exists(const std::string& path) const;
    std::vector<std::string> findByType(const std::string& type, bool exact) const;
    std::vector<std::string> children(const std::string& path) const;
    std::string typeOf(const std::string& path) const;
    std::string create(const std::string& type, const std::string& name, const std::string& parentPath);
    void remove(const std::string& path);
    std::string reparent(const std::string& path, const std::string& parentPath);
    std::string rename(const std::string& path, const std::string& name);
    void select(const std::vector<std::string>& paths);
    std::vector<std::string> selection() const;
    db::Value get(const std::string& path, const std::string& attribute) const;
    void set(const std::string& path, const std::string& attribute, const db::Value& value);
    std::vector<std::string> attributes(const std::string& path) const;
    void connect(const std::string& sourceAttribute, const std::string& destinationAttribute);
    void disconnect(const std::string& destinationAttribute);
    // Sets a key at the frame (the current frame when none) with the value (the current one when none).
    void setKey(const std::string& path, const std::string& attribute, const db::Value& frame, const db::Value& value);
    // Keys many frames at once (two lists of numbers), as one edit of the curve.
    void setKeys(const std::string& path, const std::string& attribute, const db::Value& frames, const db::Value& values);
    void clearKeys(const std::string& path, const std::string& attribute);
    double frame() const;
    void setFrame(double frame);
    void beginBlock();
    void endBlock(const std::string& description);
    bool undo();
    bool redo();
    void log(const std::string& text);

    XScene& scene() const { return m_scene; }

    // About how many bytes the scene keeps for a value written into it (the value and its undo record).
    static std::size_t BytesOf(const db::Value& value);

private:
    int objectId(const std::string& path) const;  // throws XScriptError when missing
    void charge(std::size_t bytes) const;
    // Checks the clock every few thousand steps of a walk over the scene.
    void step(std::size_t& steps) const;

    XScene& m_scene;
    XScriptBudget* m_budget;
};

}  // namespace VelX
