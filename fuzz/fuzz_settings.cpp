// (c) the ztrace developers. Licence: see LICENSE.
//
// Any text as a settings file and as a preset: it is taken, or refused in one way.
#include "Input.h"

#include "cli/failure.h"
#include "cli/presets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    for (const ztrace::Role role : { ztrace::Role::Configuration, ztrace::Role::Preset }) {
        try {
            // Palettes may be files; a fuzzer's texts are to name none.
            if (text.find("palette") != std::string::npos)
                continue;
            std::set<std::string> given;
            ztrace::Settings settings;
            ztrace::applySettings(ztrace::parseSettings(text, "text", role), "text", &given,
                                  &settings);
            fuzz::require(settings.palette.empty());
        } catch (const ztrace::Failure &failure) {
            fuzz::require(failure.code == ztrace::kWrongUsage);
            fuzz::require(std::string(failure.what()).compare(0, 4, "text") == 0);
        }
    }
    return 0;
}
