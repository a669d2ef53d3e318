// Model feature library: answers from the device file's parameters.
#include <mutex>
#include <string>

#include "platform/modelfeature.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

using namespace sim;

extern "C" const char *get_modelfeature(void)
{
    ensure_configured();
    static std::mutex model_mutex;
    static std::string model;
    std::lock_guard<std::mutex> lock(model_mutex);
    model = param("model", "CV-4M-SIM");
    trace("model " + escape(model));
    return model.c_str();
}

extern "C" int get_lenstype(const char *model)
{
    (void)model;
    return static_cast<int>(param_number("lenstype", 8));
}

extern "C" int get_slaveCameras(void)
{
    return static_cast<int>(param_number("slave_cameras", 4));
}

extern "C" int get_encoderNum(void)
{
    return static_cast<int>(param_number("encoders", 2));
}

extern "C" int get_profileResolution(void)
{
    return static_cast<int>(param_number("profile_resolution", 1));
}
