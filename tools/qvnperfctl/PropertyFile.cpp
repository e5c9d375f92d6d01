#include "PropertyFile.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string_view>

#include "PropertyText.h"

namespace qvnperfctl {

bool PropertyFile::load() {
    std::ifstream in(mPath);
    if (!in)
        return false;
    std::ostringstream text;
    text << in.rdbuf();
    mEntries.clear();
    // Read as the controller reads it, so the listing shows what the controller sees.
    qvncam::platform::forEachPropertyLine(text.str(),
                                          [this](std::string_view name, std::string_view value) {
                                              set(std::string(name), std::string(value));
                                          });
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
