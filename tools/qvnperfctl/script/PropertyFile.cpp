// SPDX-License-Identifier: Apache-2.0
#include "script/PropertyFile.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string_view>

#include "PerfCtrlProperties.h"
#include "PropertyText.h"
#include "qvncam/platform/JsonText.h"
#include "qvncam/platform/PropertyValue.h"
#include "script/ShownText.h"

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

std::optional<std::string> propertyProblem(const std::string& name, const std::string& value) {
    // A NUL would cut the name or value where the controller reads it.
    if (name.find('\0') != std::string::npos)
        return "property name " + shownName(name) + " holds a NUL character";
    if (value.find('\0') != std::string::npos)
        return "the value of property " + shownName(name) + " holds a NUL character";
    if (name.empty() || name.find_first_of("=\n\r# ") != std::string::npos ||
        value.find_first_of("\n\r") != std::string::npos) {
        return std::string(
            "property names cannot be empty or hold '=', '#', blanks or line breaks, values "
            "cannot hold line breaks");
    }
    return std::nullopt;
}

bool readAtLibraryLoad(const std::string& name) {
    using namespace NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlProperties;
    for (const Listed& p : kAll) {
        if (name == p.name)
            return p.readAt == ReadAt::LibraryLoad;
    }
    return false;
}

std::optional<std::string> propertyValueWarning(const std::string& name, const std::string& value) {
    using namespace NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlProperties;
    for (const Listed& p : kAll) {
        if (name != p.name || !p.integer || value.empty())
            continue;
        const auto read = qvncam::platform::readPropertyInt32(value, p.defaultValue);
        if (read.whole)
            return std::nullopt;
        const std::string shown = name + "=" + value;
        if (read.numeric)
            return shown + " is read as " + std::to_string(read.value);
        return shown + " is not a number: the default " + std::to_string(p.defaultValue) +
               " is used";
    }
    return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> configurationProperties(const std::string& path) {
    using NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlProperties::kEnableJson;
    return {{kEnableJson.name, "1"}, {qvncam::platform::kJsonConfigProperty, path}};
}

}  // namespace qvnperfctl
