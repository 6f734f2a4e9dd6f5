#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <string>

// The memory the process touches at its peak while a piece of work runs, above what it held
// before: the kernel's peak resident size, started anew.
class PeakResident {
public:
    bool start() {
        ::malloc_trim(0);
        m_before = residentKb("VmRSS:");
        std::ofstream clear("/proc/self/clear_refs");
        clear << "5";
        clear.flush();
        return static_cast<bool>(clear);
    }
    std::size_t growthBytes() const { return (residentKb("VmHWM:") - m_before) * 1024; }

private:
    static std::size_t residentKb(const char* field) {
        std::ifstream status("/proc/self/status");
        std::string line;
        while (std::getline(status, line))
            if (line.rfind(field, 0) == 0) return std::stoul(line.substr(std::strlen(field)));
        return 0;
    }
    std::size_t m_before = 0;
};
