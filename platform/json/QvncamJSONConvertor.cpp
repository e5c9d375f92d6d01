// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "QvncamJSONConvertor"

#include "QvncamJSON.h"

#include <string>
#include <utility>

#include "CamLog.h"
#include "qvncam/platform/JsonText.h"
#include "qvncam/platform/Properties.h"

namespace {

// jsoncpp reports errors over several lines; a log line wants one.
std::string oneLine(std::string text) {
    for (char& c : text) {
        if (c == '\n' || c == '\r')
            c = ' ';
    }
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

class QvncamJSONConvertorImp : public QvncamJSONConvertor {
  public:
    int getJsonData(int type, QvncamJSONData& out) override {
        if (type != TYPE_CAMERA_PERF) {
            CAM_LOGW("unsupported configuration type %d", type);
            return 0;
        }
        const std::string path = qvncam::platform::property_get_string(
            qvncam::platform::kJsonConfigProperty, qvncam::platform::kJsonConfigDefault);
        std::string text;
        std::string why;
        if (qvncam::platform::readJsonFile(path.c_str(), text, why) !=
            qvncam::platform::JsonFileStatus::Ok) {
            CAM_LOGW("cannot read %s: %s", path.c_str(), why.c_str());
            return 0;
        }
        QvncamJSONData doc;
        if (!doc.parse(text, &why)) {
            CAM_LOGW("malformed %s: %s", path.c_str(), oneLine(why).c_str());
            return 0;
        }
        out = std::move(doc);
        return 1;
    }
};

}  // namespace

// Here rather than with the rest of the document, which stays free of the logger so that
// tools can link it alone.
QvncamJSONData::operator int() const {
    int value = 0;
    if (!toInt32(&value))
        CAM_LOGW("member \"%s\" is not a 32-bit integer, read as 0", mKey.c_str());
    return value;
}

QvncamJSONConvertor::~QvncamJSONConvertor() = default;

QvncamJSONConvertor* QvncamJSONConvertor::createInstance() {
    return new QvncamJSONConvertorImp;
}
