// SPDX-License-Identifier: Apache-2.0
// qvnperfctl's session scripts: any text through the tool's JSON reader and script parser.
// Problems are reported, never fatal.

#include <cstdint>
#include <string>

#include "script/JsonSource.h"
#include "script/SessionScript.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qvnperfctl::JsonSource source;
    if (source.parse("fuzz.json", std::string(reinterpret_cast<const char*>(data), size)) !=
        qvnperfctl::JsonSource::Status::Ok) {
        return 0;
    }
    qvnperfctl::Session session;
    for (const auto& error : qvnperfctl::parseSession(source, session)) {
        if (error.message.empty()) {
            __builtin_trap();  // every problem says what it is
        }
    }
    return 0;
}
