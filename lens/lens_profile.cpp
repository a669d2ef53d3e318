#include "lens/lens_profile.h"

#include "frame/log.h"
#include "platform/modelfeature.h"

const LensProfile lens_profiles[kLensProfileCount] = {
    {.lens_type = 8, .max_steps = 1700, .step1 = 20, .step2 = 2, .param4 = 40, .param5 = 2,
     .cut = -5, .cut2 = -7, .bg = 60, .focus_tick = 9, .rise_level1 = 2, .rise_level2 = 1, .param12 = 20},
    {.lens_type = 3, .max_steps = 4000, .step1 = 70, .step2 = 5, .param4 = 50, .param5 = 3,
     .cut = -5, .cut2 = -7, .bg = 30, .focus_tick = 2, .rise_level1 = 3, .rise_level2 = 1, .param12 = 20},
};

int getLensTypeIndex(const char *model)
{
    int lens_type = get_lenstype(model);
    int index = -1;
    if (lens_type == lens_profiles[0].lens_type)
        index = 0;
    else if (lens_type == lens_profiles[1].lens_type)
        index = 1;
    LOG("lens index: %d.\n", index);
    return index;
}

const LensProfile &lens_profile_or_zero(int index)
{
    static const LensProfile unknown_lens = {};
    if (index < 0 || index >= kLensProfileCount)
        return unknown_lens;
    return lens_profiles[index];
}
