// SPDX-License-Identifier: Apache-2.0
#pragma once

// libcutils' property_get_int32 on each value, with -77 as the default: strtoimax with
// the base from the prefix, leading blanks skipped, a numeric prefix enough; the default
// when no digit was read, on overflow, or outside 32 bits.

#include <cstdint>

struct PropertyInt32Case {
    const char* text;
    int32_t value;
    bool whole;  // read to its end (false for every default)
};

constexpr int32_t kPropertyDefault = -77;

// clang-format off
inline constexpr PropertyInt32Case kPropertyInt32Cases[] = {
    {"42", 42, true}, {"-42", -42, true}, {"+7", 7, true}, {"0X1f", 31, true},
    {"-0x10", -16, true}, {"010", 8, true}, {"0", 0, true}, {"-0", 0, true},
    {"2147483647", INT32_MAX, true}, {"-0x80000000", INT32_MIN, true},
    {" 12", 12, true}, {"\t\n 7", 7, true},
    // a numeric prefix is enough
    {"2.5GHz", 2, false}, {"1e3", 1, false}, {"0x", 0, false}, {"08", 0, false},
    {"12abc", 12, false}, {"1 2", 1, false}, {"12 ", 12, false}, {"0x1g", 1, false},
    {"-0x", 0, false},
    // the default
    {"", kPropertyDefault, false}, {" ", kPropertyDefault, false},
    {"-", kPropertyDefault, false}, {"+", kPropertyDefault, false},
    {"+-1", kPropertyDefault, false}, {"- 1", kPropertyDefault, false},
    {"abc", kPropertyDefault, false}, {"x12", kPropertyDefault, false},
    {"2147483648", kPropertyDefault, false}, {"-2147483649", kPropertyDefault, false},
    {"0xffffffff", kPropertyDefault, false}, {"4294967296", kPropertyDefault, false},
    {"99999999999999999999", kPropertyDefault, false},
    {"-99999999999999999999", kPropertyDefault, false},
    {"9223372036854775807", kPropertyDefault, false},
};
// clang-format on
