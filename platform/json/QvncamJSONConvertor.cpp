#define LOG_TAG "QvncamJSONConvertor"

#include "QvncamJSON.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "CamLog.h"
#include "qvncam/platform/Properties.h"

namespace {

constexpr const char* kPerfConfigProperty = "vendor.debug.qvncam.perfjson";
constexpr const char* kPerfConfigDefault = "/vendor/etc/camera/qvncam_perf_config.json";
// A configuration is a few kilobytes; anything past this is refused, not loaded.
constexpr off_t kMaxConfigSize = 16 * 1024 * 1024;

// Reads a regular file; on failure returns false with a reason in `why`.
bool readConfigFile(const std::string& path, std::string& out, std::string& why) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        why = std::strerror(errno);
        return false;
    }
    struct stat st {};
    bool ok = false;
    if (::fstat(fd, &st) != 0) {
        why = std::strerror(errno);
    } else if (!S_ISREG(st.st_mode)) {
        why = "not a regular file";
    } else if (st.st_size > kMaxConfigSize) {
        why = "larger than " + std::to_string(kMaxConfigSize) + " bytes";
    } else {
        out.resize(static_cast<size_t>(st.st_size));
        size_t got = 0;
        ok = true;
        while (got < out.size()) {
            ssize_t n = ::read(fd, &out[got], out.size() - got);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                why = std::strerror(errno);
                ok = false;
            }
            if (n <= 0)
                break;
            got += static_cast<size_t>(n);
        }
        out.resize(got);
    }
    ::close(fd);
    return ok;
}

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
        if (!readConfigFile(path, text, why)) {
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

QvncamJSONConvertor::~QvncamJSONConvertor() = default;

QvncamJSONConvertor* QvncamJSONConvertor::createInstance() {
    return new QvncamJSONConvertorImp;
}
