// SPDX-License-Identifier: Apache-2.0
// A JSON configuration read as the controller reads it, with the problems a device
// maker must fix before flashing it.

#include <QvncamJSON.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "JsonSections.h"
#include "config/ConfigReading.h"
#include "config/Vocabulary.h"
#include "qvncam/platform/JsonText.h"
#include "script/JsonSource.h"
#include "script/ShownText.h"

namespace qvnperfctl {
namespace {

using NSCam::NSCamFeature::NSCamPerfCtrl::JsonSection;
using NSCam::NSCamFeature::NSCamPerfCtrl::kJsonConfigCamSection;
using NSCam::NSCamFeature::NSCamPerfCtrl::kJsonEnterCamSection;
using NSCam::NSCamFeature::NSCamPerfCtrl::readJsonSection;

const char* const kSections[] = {kJsonEnterCamSection, kJsonConfigCamSection};

std::string describe(const Json::Value& v) {
    switch (v.type()) {
        case Json::nullValue:
            return "null";
        case Json::intValue:
        case Json::uintValue:
            return "an integer";
        case Json::realValue:
            return "a number";
        case Json::stringValue:
            return "a string";
        case Json::booleanValue:
            return "a boolean";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
    }
    return "a value";
}

class ConfigReader {
  public:
    explicit ConfigReader(const JsonSource& source) : mSource(source) {
        // Parses again into the controller's own document: the same text, so it loads.
        mDocument.parse(source.text());
    }

    ConfigReading run() {
        const auto& root = mSource.root();
        if (!root.isObject()) {
            add(mSource.lineOf(root), "the top level must be an object, not " + describe(root));
            return finish();
        }
        checkDuplicates(root, "the top level");
        for (const auto& member : mSource.membersAsWritten(root)) {
            if (std::find(std::begin(kSections), std::end(kSections), member.name) ==
                std::end(kSections)) {
                add(member.line, "unknown top-level member " + shownName(member.name) +
                                     " (the controller reads only \"enter_cam\" and "
                                     "\"config_cam\")");
            }
        }
        readSection(kJsonEnterCamSection, mReading.enterCamera);
        readSection(kJsonConfigCamSection, mReading.configureStream);
        return finish();
    }

  private:
    void add(int line, std::string message) {
        mReading.problems.push_back({line, std::move(message)});
    }

    ConfigReading finish() {
        std::stable_sort(
            mReading.problems.begin(), mReading.problems.end(),
            [](const ConfigProblem& a, const ConfigProblem& b) { return a.line < b.line; });
        return std::move(mReading);
    }

    void checkDuplicates(const Json::Value& object, const std::string& where) {
        std::map<std::string, int> firstLine;
        for (const auto& member : mSource.membersAsWritten(object)) {
            auto [it, fresh] = firstLine.emplace(member.name, member.line);
            if (!fresh) {
                add(member.line, "duplicate name " + shownName(member.name) + " in " + where +
                                     " (first at line " + std::to_string(it->second) +
                                     "; only the last one takes effect)");
            }
        }
    }

    // The controller's reading of one section, with what it sends and what it skips.
    void readSection(const char* section, SentList& out) {
        // The stand-in facility's conversion, without its log line.
        const JsonSection reading =
            readJsonSection(mDocument, section, [](const QvncamJSONData& v) {
                int number = 0;
                v.toInt32(&number);
                return number;
            });
        out.present = reading.present;
        if (!reading.present)
            return;
        const Json::Value& written = mSource.root()[section];
        if (!reading.object) {
            add(mSource.lineOf(written), shownName(section) + " must be an object, not " +
                                             describe(written) +
                                             " (the controller sends an empty list for it)");
            out.note = shownName(section) + " is not an object";
            return;
        }
        checkDuplicates(written, shownName(section));
        out.pairs = reading.cmds();
        const size_t skipped = reading.members.size() - out.pairs.size() / 2;
        if (skipped != 0)
            out.note =
                std::to_string(skipped) + " unknown name" + (skipped == 1 ? "" : "s") + " skipped";
        lintSection(section, mDocument[section], written);
    }

    void lintSection(const std::string& section, const QvncamJSONData& value,
                     const Json::Value& written) {
        const auto& vocabulary = Vocabulary::instance();
        std::set<std::string> seen;
        for (const auto& member : mSource.membersAsWritten(written)) {
            if (!seen.insert(member.name).second)
                continue;
            const Resource* resource = vocabulary.byName(member.name);
            if (!resource) {
                add(member.line, shownName(member.name) + " in " + shownName(section) +
                                     " is not a resource of the vocabulary (the controller "
                                     "skips it)");
            } else if (!resource->permitted) {
                add(member.line, shownName(member.name) + " in " + shownName(section) +
                                     " is not permitted in configuration");
            }
            for (const QvncamJSONData* it = value.begin(); it != value.end(); ++it) {
                if (it->key() == member.name)
                    checkValue(member.name, *it, written[member.name]);
            }
        }
    }

    // Reports a value the controller reads otherwise than it is written.
    void checkValue(const std::string& name, const QvncamJSONData& value,
                    const Json::Value& written) {
        const int line = mSource.lineOf(written);
        const std::string text = mSource.textOf(written);
        int number = 0;
        const bool asIs = value.toInt32(&number);
        const std::string of = " of " + shownName(name);
        const double real = written.isNumeric() ? written.asDouble() : 0.5;
        if (asIs) {
            if (text != std::to_string(number))
                add(line, "value " + text + of + " is read as " + std::to_string(number) +
                              ": write " + std::to_string(number));
        } else if (std::isfinite(real) && std::trunc(real) == real) {
            add(line,
                "value " + text + of + " is out of range (-2147483648 to 2147483647): read as 0");
        } else if (written.isNumeric()) {
            add(line, "value " + text + of + " is not a whole number: read as 0");
        } else {
            add(line,
                "value" + of + " must be an integer, not " + describe(written) + ": read as 0");
        }
    }

    const JsonSource& mSource;
    QvncamJSONData mDocument;
    ConfigReading mReading;
};

}  // namespace

ConfigReading readConfiguration(const JsonSource& source) {
    return ConfigReader(source).run();
}

}  // namespace qvnperfctl
