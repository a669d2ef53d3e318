// Fixture for tests that call daemon routines directly against the sim bus
// (no bus thread: deliveries run on the caller, in order).
#ifndef TESTS_UNIT_TEST_SUPPORT_H
#define TESTS_UNIT_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include "frame/context.h"
#include "sim/platform/sim.h"

class SimBusTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        static bool captured = [] {
            sim::capture_stdout();
            return true;
        }();
        (void)captured;
        sim::reset();
        sim::set_recording(true);
        sim::set_time_divisor(100);
        service.ready = 1;
        service.cam_count = 4;
    }
    void TearDown() override
    {
        sim::reset();
        sim::set_time_divisor(1);
        service.ready = 0;
    }
    static std::string value_of(const std::string &name) { return sim::node(name).value_or("<absent>"); }
};

#endif
