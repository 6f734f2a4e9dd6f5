#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include "PythonMemoryCap.h"

#include <algorithm>

namespace VelX {

namespace {

// Each block starts with its size; 16 bytes keep the alignment the interpreter expects.
constexpr std::size_t Header = 16;
constexpr std::size_t LeastSlack = 1024 * 1024;

struct State {
    bool installed = false;
    PyMemAllocatorEx memory{}, object{};  // the interpreter's own allocators, which ours wrap
    PythonMemoryCap::ExceededHandler handler = nullptr;
    std::size_t held = 0;
    PythonMemoryCap::Saved cap{false, 0, 0, 0, false};
};

State s_state;

// Whether `extra` more bytes may be held; past the cap they are refused and the run is stopped.
bool mayGrow(std::size_t extra) {
    PythonMemoryCap::Saved& cap = s_state.cap;
    if (!cap.on) return true;
    const std::size_t used = s_state.held - std::min(s_state.held, cap.base) + cap.made + extra;
    const std::size_t limit = cap.exceeded ? cap.cap + std::max(cap.cap / 8, LeastSlack) : cap.cap;
    if (used <= limit) return true;
    if (!cap.exceeded) {
        cap.exceeded = true;
        if (s_state.handler) s_state.handler();
    }
    return false;
}

void* wrap(void* block, std::size_t size) {
    if (!block) return nullptr;
    *static_cast<std::size_t*>(block) = size;
    s_state.held += size;
    return static_cast<char*>(block) + Header;
}

void* countedMalloc(void* context, std::size_t size) {
    auto* inner = static_cast<PyMemAllocatorEx*>(context);
    if (size > PY_SSIZE_T_MAX - Header || !mayGrow(size)) return nullptr;
    return wrap(inner->malloc(inner->ctx, size + Header), size);
}

void* countedCalloc(void* context, std::size_t count, std::size_t itemSize) {
    auto* inner = static_cast<PyMemAllocatorEx*>(context);
    if (itemSize != 0 && count > (PY_SSIZE_T_MAX - Header) / itemSize) return nullptr;
    const std::size_t size = count * itemSize;
    if (!mayGrow(size)) return nullptr;
    return wrap(inner->calloc(inner->ctx, 1, size + Header), size);
}

void* countedRealloc(void* context, void* pointer, std::size_t size) {
    if (!pointer) return countedMalloc(context, size);
    auto* inner = static_cast<PyMemAllocatorEx*>(context);
    char* block = static_cast<char*>(pointer) - Header;
    const std::size_t old = *reinterpret_cast<std::size_t*>(block);
    if (size > PY_SSIZE_T_MAX - Header || (size > old && !mayGrow(size - old))) return nullptr;
    void* grown = inner->realloc(inner->ctx, block, size + Header);
    if (!grown) return nullptr;
    s_state.held -= old;
    return wrap(grown, size);
}

void countedFree(void* context, void* pointer) {
    if (!pointer) return;
    auto* inner = static_cast<PyMemAllocatorEx*>(context);
    char* block = static_cast<char*>(pointer) - Header;
    s_state.held -= *reinterpret_cast<std::size_t*>(block);
    inner->free(inner->ctx, block);
}

void wrapDomain(PyMemAllocatorDomain domain, PyMemAllocatorEx& original) {
    PyMem_GetAllocator(domain, &original);
    PyMemAllocatorEx counted{&original, countedMalloc, countedCalloc, countedRealloc, countedFree};
    PyMem_SetAllocator(domain, &counted);
}

}  // namespace

void PythonMemoryCap::Install(ExceededHandler handler) {
    if (s_state.installed) return;
    s_state.handler = handler;
    wrapDomain(PYMEM_DOMAIN_MEM, s_state.memory);
    wrapDomain(PYMEM_DOMAIN_OBJ, s_state.object);
    s_state.installed = true;
}

bool PythonMemoryCap::IsInstalled() { return s_state.installed; }

PythonMemoryCap::Saved PythonMemoryCap::Begin(std::size_t cap) {
    const Saved saved = s_state.cap;
    s_state.cap = Saved{s_state.installed && cap > 0, s_state.held, cap, 0, false};
    return saved;
}

void PythonMemoryCap::End(const Saved& saved) { s_state.cap = saved; }

bool PythonMemoryCap::Charge(std::size_t bytes) {
    if (!s_state.cap.on) return true;
    s_state.cap.made += bytes;
    return mayGrow(0);
}

bool PythonMemoryCap::Exceeded() { return s_state.cap.on && s_state.cap.exceeded; }

std::size_t PythonMemoryCap::BytesHeld() { return s_state.held; }

}  // namespace VelX
