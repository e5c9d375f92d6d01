// SPDX-License-Identifier: Apache-2.0
// System properties on a Linux host: the file named by QVNCAM_PROPERTIES, one
// name=value per line, under the test hook's overrides.

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "PropertyText.h"
#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/Properties.h"
#include "qvncam/platform/PropertyValue.h"
#include "qvncam/platform/ReadFile.h"
#include "qvncam/platform/TestHook.h"
#include "qvncam/platform/ThreadAnnotations.h"

namespace qvncam {
namespace platform {
namespace {

// Transparent, so names are looked up as string_views without building a std::string.
using ValueMap = std::map<std::string, std::string, std::less<>>;

// A larger file is treated as unreadable rather than loaded.
constexpr off_t kMaxPropertyFileSize = off_t{16} * 1024 * 1024;

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool earlier(const timespec& a, const timespec& b) {
    return a.tv_sec < b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec < b.tv_nsec);
}

// The parsed file, keyed on its path and identity. File times advance in clock ticks,
// so an edit in the same tick as the last parse could keep size and mtime: such a
// snapshot is not trusted (the file is parsed again) until the clock has moved on.
struct Snapshot {
    bool loaded = false;
    bool settled = false;
    std::string path;
    dev_t dev = 0;
    ino_t ino = 0;
    off_t size = 0;
    timespec mtime{};
    timespec ctime{};  // catches edits that put the old mtime back
    int fd = -1;       // the parsed file, kept open: fstat is much cheaper than stat
    ValueMap values;

    bool matches(const char* p, const struct stat& st) const {
        return loaded && settled && path == p && dev == st.st_dev && ino == st.st_ino &&
               size == st.st_size && sameTime(mtime, st.st_mtim) && sameTime(ctime, st.st_ctim);
    }

    // True while the parsed file is still what `p` names, checked through the open file:
    // an edit in place changes its size or times, and replacing or deleting the file
    // unlinks the old one. Anything else takes the slow path through stat().
    bool stillCurrent(const char* p) const {
        if (p == nullptr)
            return !loaded;
        struct stat st {};
        return fd >= 0 && ::fstat(fd, &st) == 0 && st.st_nlink > 0 && matches(p, st);
    }

    void unload() {
        loaded = false;
        values.clear();
        if (fd >= 0) {
            ::close(fd);
            fd = -1;
        }
    }

    void load(const char* p) {
        timespec before{};
        ::clock_gettime(CLOCK_REALTIME_COARSE, &before);
        unload();
        struct stat st {};
        std::string text;
        std::string why;  // an unreadable file reads as no file
        fd = readRegularFile(p, kMaxPropertyFileSize, st, text, why);
        if (fd < 0)
            return;
        forEachPropertyLine(text, [this](std::string_view name, std::string_view value) {
            values.insert_or_assign(std::string(name), std::string(value));
        });
        loaded = true;
        path = p;
        dev = st.st_dev;
        ino = st.st_ino;
        size = st.st_size;
        mtime = st.st_mtim;
        ctime = st.st_ctim;
        // File systems that keep whole seconds get a two-second margin.
        timespec limit = before;
        if (mtime.tv_nsec == 0 || ctime.tv_nsec == 0)
            limit.tv_sec -= 2;
        settled = earlier(mtime, limit) && earlier(ctime, limit);
    }
};

struct Store {
    SharedMutex mutex;
    Snapshot file QVNCAM_GUARDED_BY(mutex);
};

// Never destroyed: properties are read from destructors at process exit.
Store& store() {
    static Store* const s = new Store;
    return *s;
}

const char* propertyFilePath() {
    const char* path = ::getenv("QVNCAM_PROPERTIES");
    return path != nullptr && path[0] != '\0' ? path : nullptr;
}

const std::string* findLocked(const Store& s, std::string_view key)
    QVNCAM_REQUIRES_SHARED(s.mutex) {
    if (!s.file.loaded)
        return nullptr;
    auto f = s.file.values.find(key);
    return f != s.file.values.end() ? &f->second : nullptr;
}

// Calls fn(value) under the lock when `key` is set; returns whether it was.
template <typename Fn>
bool withValue(const char* key, Fn&& fn) {
    if (key == nullptr)
        return false;
    std::string overridden;
    if (propertyOverride(key, overridden)) {
        fn(overridden);
        return true;
    }
    Store& s = store();
    auto answer = [&]() QVNCAM_REQUIRES_SHARED(s.mutex) {
        const std::string* v = findLocked(s, key);
        if (v != nullptr)
            fn(*v);
        return v != nullptr;
    };
    const char* path = propertyFilePath();
    {
        ReaderLock lock(s.mutex);
        if (s.file.stillCurrent(path))
            return answer();
    }
    struct stat st {};
    bool present = path != nullptr && ::stat(path, &st) == 0;
    {
        ReaderLock lock(s.mutex);
        if (present ? s.file.matches(path, st) : !s.file.loaded)
            return answer();
    }
    WriterLock lock(s.mutex);
    if (!present) {
        s.file.unload();
    } else if (!s.file.matches(path, st)) {
        s.file.load(path);
    }
    return answer();
}

}  // namespace

int property_get(const char* key, char* value, const char* defaultValue) {
    int len = -1;
    withValue(key,
              [&](const std::string& v) { len = copyPropertyValue(true, v, value, defaultValue); });
    return len >= 0 ? len : copyPropertyValue(false, {}, value, defaultValue);
}

int32_t property_get_int32(const char* key, int32_t defaultValue) {
    int32_t result = defaultValue;
    withValue(key,
              [&](const std::string& v) { result = readPropertyInt32(v, defaultValue).value; });
    return result;
}

bool property_get_bool(const char* key, bool defaultValue) {
    bool result = defaultValue;
    withValue(key, [&](const std::string& v) { parsePropertyBool(v, &result); });
    return result;
}

std::string property_get_string(const char* key, const char* defaultValue) {
    char value[kPropertyValueMax];
    int len = property_get(key, value, defaultValue);
    return std::string(value, static_cast<size_t>(len));
}

}  // namespace platform

namespace host {

void setProperty(const std::string& name, const std::string& value) {
    platform::setPropertyOverride(name, value);
}

void clearProperty(const std::string& name) {
    platform::clearPropertyOverride(name);
}

void clearAllProperties() {
    platform::clearPropertyOverrides();
}

}  // namespace host
}  // namespace qvncam
