#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace db {

// Finds a child by name under a parent without scanning the siblings. Entries are keyed by a
// hash of (parent, name) in one open-addressing table (no allocation per entry); callers confirm a
// match against the node itself, so hash collisions only cost a comparison.
class NameIndex {
public:
    static std::uint64_t key(int parent, const std::string& name) {
        std::uint64_t h = 1469598103934665603ull ^ static_cast<std::uint32_t>(parent);
        for (unsigned char c : name) h = (h ^ c) * 1099511628211ull;
        h ^= h >> 32;
        return h == Empty || h == Removed ? h + 2 : h;
    }

    void add(int parent, const std::string& name, int id) {
        if ((m_used + 1) * 10 > m_slots.size() * 7) grow();
        std::uint64_t k = key(parent, name);
        std::size_t i = k & m_mask;
        while (m_slots[i].key != Empty && m_slots[i].key != Removed) i = (i + 1) & m_mask;
        if (m_slots[i].key == Empty) ++m_used;
        m_slots[i] = Slot{k, id};
        ++m_size;
    }

    void remove(int parent, const std::string& name, int id) {
        if (m_slots.empty()) return;
        std::uint64_t k = key(parent, name);
        for (std::size_t i = k & m_mask; m_slots[i].key != Empty; i = (i + 1) & m_mask) {
            if (m_slots[i].key == k && m_slots[i].id == id) {
                m_slots[i].key = Removed;
                --m_size;
                return;
            }
        }
    }

    template <class Match> int find(int parent, const std::string& name, Match&& matches) const {
        if (m_slots.empty()) return -1;
        std::uint64_t k = key(parent, name);
        for (std::size_t i = k & m_mask; m_slots[i].key != Empty; i = (i + 1) & m_mask)
            if (m_slots[i].key == k && matches(m_slots[i].id)) return m_slots[i].id;
        return -1;
    }

    // Where the search for a free numbered name under a parent should start.
    int& suffixHint(int parent, const std::string& base) { return m_hints[key(parent, base)]; }

    void clear() {
        m_slots.clear();
        m_mask = 0;
        m_used = m_size = 0;
        m_hints.clear();
    }

private:
    static constexpr std::uint64_t Empty = 0;
    static constexpr std::uint64_t Removed = 1;
    struct Slot {
        std::uint64_t key = Empty;
        int id = -1;
    };

    void grow() {
        std::vector<Slot> old;
        old.swap(m_slots);
        std::size_t capacity = 16;
        while (capacity * 7 < (m_size + 1) * 20) capacity *= 2;  // room to double before the next grow
        m_slots.assign(capacity, Slot{});
        m_mask = capacity - 1;
        m_used = m_size = 0;
        for (const Slot& s : old) {
            if (s.key == Empty || s.key == Removed) continue;
            std::size_t i = s.key & m_mask;
            while (m_slots[i].key != Empty) i = (i + 1) & m_mask;
            m_slots[i] = s;
            ++m_used;
            ++m_size;
        }
    }

    std::vector<Slot> m_slots;
    std::size_t m_mask = 0;
    std::size_t m_used = 0;  // occupied or removed slots
    std::size_t m_size = 0;  // live entries
    std::unordered_map<std::uint64_t, int> m_hints;
};

}  // namespace db
