// Native-to-legacy converters of the start-up synchronisation.
#ifndef BINDINGS_CONVERTERS_H
#define BINDINGS_CONVERTERS_H

#include "frame/routine.h"

#define CONVERTER_ROUTINES(X)                  \
    X(converter, n2a_brightness_converter)     \
    X(converter, n2a_sharpness_converter)      \
    X(converter, n2a_saturation_converter)     \
    X(converter, n2a_blue_red_converter)       \
    X(converter, n2a_imgquality_converter)     \
    X(converter, n2a_ipv6enable_converter)     \
    X(converter, n2a_pmask_blrt_converter)     \
    X(converter, n2a_sd_codec_converter)       \
    X(converter, n2a_shortexposures_converter) \
    X(converter, n2a_white_balance_converter)  \
    X(converter, n2a_defog_converter)          \
    X(converter, n2a_wdr_converter)            \
    X(converter, n2a_qos_enable_converter)     \
    X(converter, n2a_smtgop_snpstrm_converter) \
    X(converter, n2a_auxin_converter)          \
    X(converter, n2a_autoexp_converter)        \
    X(converter, n2a_lowlight_converter)       \
    X(converter, n2a_rotate_converter)         \
    X(converter, n2a_mdtotalzones_converter)   \
    X(converter, n2a_mdzonesize_converter)     \
    X(converter, n2a_mdsensitivity_converter)  \
    X(converter, n2a_netopt_converter)         \
    X(converter, n2a_en_multicast_converter)   \
    X(converter, n2a_daynight_converter)       \
    X(converter, n2a_bitrate_converter)        \
    X(converter, n2a_ratelimit_converter)      \
    X(converter, n2a_roi_lv_en_converter)      \
    X(converter, n2a_imgres_converter)         \
    X(converter, n2a_copy_converter)

CONVERTER_ROUTINES(DECLARE_ROUTINE)

#endif
