#pragma once

// The process's resident memory, as the benchmarks report it.

#include <fstream>
#include <string>

namespace bench {

// The process's resident memory in bytes: now ("VmRSS:") or at its peak ("VmHWM:").
inline double residentBytes(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(field, 0) == 0) return std::stod(line.substr(std::string(field).size())) * 1024.0;
    return 0.0;
}

// Starts the peak resident memory anew from the current one; false where the kernel does not allow it.
inline bool resetPeakResident() {
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return static_cast<bool>(clear);
}

}  // namespace bench
