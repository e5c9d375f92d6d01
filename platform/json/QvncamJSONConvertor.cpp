#define LOG_TAG "QvncamJSONConvertor"

#include "QvncamJSON.h"

#include <unistd.h>

#include <string>
#include <utility>

#include "CamLog.h"
#include "qvncam/platform/Properties.h"
#include "qvncam/platform/ReadFile.h"

namespace {

constexpr const char* kPerfConfigProperty = "vendor.debug.qvncam.perfjson";
constexpr const char* kPerfConfigDefault = "/vendor/etc/camera/qvncam_perf_config.json";
// A configuration is a few kilobytes; anything past this is refused, not loaded.
constexpr off_t kMaxConfigSize = off_t{16} * 1024 * 1024;

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
        const std::string path =
            qvncam::platform::property_get_string(kPerfConfigProperty, kPerfConfigDefault);
        std::string text;
        std::string why;
        struct stat st {};
        int fd = qvncam::platform::readRegularFile(path.c_str(), kMaxConfigSize, st, text, why);
        if (fd < 0) {
            CAM_LOGW("cannot read %s: %s", path.c_str(), why.c_str());
            return 0;
        }
        ::close(fd);
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

QvncamJSONConvertor::~QvncamJSONConvertor() = default;

QvncamJSONConvertor* QvncamJSONConvertor::createInstance() {
    return new QvncamJSONConvertorImp;
}
