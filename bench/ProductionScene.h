#pragma once

// Animation at production scale: 200 characters of 500 joints (100,000 objects), 10,000 joints
// animated on three rotation channels with 100 keys each (30,000 curves, 3,000,000 keys).
// The scene is built once per run and shared by the benchmarks that read it.

#include <veldatabase/Database.h>

#include <chrono>
#include <memory>
#include <vector>

namespace prod {

constexpr int Characters = 200;
constexpr int JointsPerCharacter = 500;
constexpr int Limbs = 10;
constexpr int AnimatedPerCharacter = 50;
constexpr int KeysPerCurve = 100;
constexpr int Channels = 3;

// Bytes the heap holds now (the growth of a phase is its difference).
double heapBytes();
db::AttrKey slot(const db::Database& database, int id, int index);
// The time and value of key k of curve c: a smooth wave, offset per curve so that curves differ.
float keyTime(int k);
float keyValue(int curve, int k);

// Makes the characters' joints in `database` (whose types are registered); fills every joint,
// character by character, and the joints that get curves.
void buildCharacters(db::Database& database, std::vector<int>& joints, std::vector<int>& animated);

// The characters' joints, without animation.
struct Crowd {
    std::unique_ptr<db::Database> database = std::make_unique<db::Database>();
    std::vector<int> joints;    // every joint, character by character
    std::vector<int> animated;  // the joints that get curves
    int settings = -1;
    double createSeconds = 0;
    Crowd();
};

// The characters with every curve keyed, curve by curve.
struct ProductionScene : Crowd {
    std::vector<int> curves;
    double keySeconds = 0, keyBytes = 0;
    ProductionScene();
};

ProductionScene& scene();
double secondsSince(std::chrono::steady_clock::time_point start);

}  // namespace prod
