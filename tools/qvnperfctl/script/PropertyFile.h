// SPDX-License-Identifier: Apache-2.0
#pragma once

// The host properties file (name=value lines) that QVNCAM_PROPERTIES names; the
// controller re-reads it whenever it changes.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qvnperfctl {

class PropertyFile {
  public:
    explicit PropertyFile(std::string path) : mPath(std::move(path)) {}

    // Reads name=value lines written by write(); false when the file cannot be read.
    bool load();
    // Sets or replaces one property (kept in the order first set).
    void set(const std::string& name, const std::string& value);
    // Replaces the file as a whole (write and rename), so a reader never sees half of it.
    bool write() const;

    const std::string& path() const { return mPath; }
    const std::vector<std::pair<std::string, std::string>>& entries() const { return mEntries; }

  private:
    std::string mPath;
    std::vector<std::pair<std::string, std::string>> mEntries;
};

// Why the properties file cannot hold NAME=VALUE (a NUL, a line break, an empty name or
// one with '=', '#' or blanks), if it cannot.
std::optional<std::string> propertyProblem(const std::string& name, const std::string& value);

// The properties that make the controller read the JSON configuration at `path`.
std::vector<std::pair<std::string, std::string>> configurationProperties(const std::string& path);

// What a device makes of a value that does not read as it looks: an integer property read
// by its numeric prefix ("NAME=2.5GHz is read as 2"), or one that is no number at all.
std::optional<std::string> propertyValueWarning(const std::string& name, const std::string& value);

// Properties the controller reads only when the library is loaded: changing them
// during a session has no effect on it.
bool readAtLibraryLoad(const std::string& name);

}  // namespace qvnperfctl
