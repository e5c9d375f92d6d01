// SPDX-License-Identifier: Apache-2.0
#pragma once

// Camera metadata: entries of integer items keyed by tag. Header-only so that a
// customisation library can use it without linking the controller.

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace NSCam {

template <typename T>
struct Type2Type {
    using type = T;
};

class IMetadata {
  public:
    class IEntry {
      public:
        explicit IEntry(uint32_t tag = 0) : mTag(tag) {}

        uint32_t tag() const { return mTag; }
        bool isEmpty() const { return mItems.empty(); }
        size_t count() const { return mItems.size(); }

        template <typename T>
        void push_back(T value, Type2Type<T>) {
            mItems.push_back(static_cast<int64_t>(value));
        }

        // An index past the last item reads as 0.
        template <typename T>
        T itemAt(size_t index, Type2Type<T>) const {
            return index < mItems.size() ? static_cast<T>(mItems[index]) : T{};
        }

      private:
        uint32_t mTag;
        std::vector<int64_t> mItems;
    };

    // Adds or replaces the entry of `tag`.
    void update(uint32_t tag, const IEntry& entry) { mEntries[tag] = entry; }
    void remove(uint32_t tag) { mEntries.erase(tag); }
    bool isEmpty() const { return mEntries.empty(); }

    // The entry of `tag`, or an empty entry when the tag is absent.
    IEntry entryFor(uint32_t tag, int /*unused*/ = 0) const {
        auto it = mEntries.find(tag);
        return it == mEntries.end() ? IEntry(tag) : it->second;
    }

  private:
    std::map<uint32_t, IEntry> mEntries;
};

}  // namespace NSCam
