// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Locations: any input, cut into tokens and rules anyhow, is followed as the oracle does it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zol/lyctx.h"

#include "support/location_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Each token has two bytes in front: its length, and what happens to the rule.
int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    xlyctx_location_s token = {};
    token.first_line = 1;
    token.last_line = 1;
    LocationOracle tokenOracle;
    xlyctx_location_s rule = token;
    LocationOracle ruleOracle;
    for (size_t i = 0; i + 2 <= size;) {
        const size_t length = std::min<size_t>(data[i], size - i - 2);
        const unsigned choice = data[i + 1] % 4U;
        std::string text(reinterpret_cast<const char*>(data) + i + 2, length);
        std::replace(text.begin(), text.end(), '\0', ' ');
        i += 2 + length;

        xlyctx_update_location(&token, text.data(), static_cast<int>(length));
        tokenOracle.update(text);
        if (choice == 0) {
            rule = token;
            ruleOracle = tokenOracle;
        } else if (choice == 1) {
            xlyctx_concat_location(&rule, &token);
            ruleOracle.concat(tokenOracle);
        }
        if (!tokenOracle.agreesWith(token) || !ruleOracle.agreesWith(rule)) {
            abort();
        }
    }
    return 0;
}
