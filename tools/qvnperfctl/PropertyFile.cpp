#include "PropertyFile.h"

#include <cstdio>
#include <fstream>

namespace qvnperfctl {

bool PropertyFile::load() {
    std::ifstream in(mPath);
    if (!in)
        return false;
    mEntries.clear();
    std::string line;
    while (std::getline(in, line)) {
        auto eq = line.find('=');
        if (eq == std::string::npos || line.empty() || line[0] == '#')
            continue;
        set(line.substr(0, eq), line.substr(eq + 1));
    }
    return true;
}

void PropertyFile::set(const std::string& name, const std::string& value) {
    for (auto& entry : mEntries) {
        if (entry.first == name) {
            entry.second = value;
            return;
        }
    }
    mEntries.emplace_back(name, value);
}

bool PropertyFile::write() const {
    std::string temp = mPath + ".new";
    {
        std::ofstream out(temp, std::ios::trunc);
        out << "# written by qvnperfctl simulate\n";
        for (const auto& [name, value] : mEntries)
            out << name << '=' << value << '\n';
        if (!out.flush())
            return false;
    }
    // A new file under the old name: a new identity, seen as a change at the next read.
    return std::rename(temp.c_str(), mPath.c_str()) == 0;
}

bool readAtLibraryLoad(const std::string& name) {
    static const char* const kLoadTime[] = {
        "vendor.debug.multicam.zoom.dram.opp",
        "vendor.debug.multicam.zoom.cpu0.freq",
        "vendor.debug.multicam.zoom.cpu1.freq",
        "vendor.debug.multicam.zoom.cpu2.freq",
        "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster0",
        "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster1",
        "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster2",
    };
    for (const char* p : kLoadTime) {
        if (name == p)
            return true;
    }
    return false;
}

}  // namespace qvnperfctl
