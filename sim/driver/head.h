// Views of the simulated head: a compact text and an SVG picture.
#ifndef SIM_DRIVER_HEAD_H
#define SIM_DRIVER_HEAD_H

#include <string>

#include "sim/platform/head.h"

std::string head_text(const sim::HeadState &state);
std::string head_svg(const sim::HeadState &state);

#endif
