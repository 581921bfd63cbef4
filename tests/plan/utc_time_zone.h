#pragma once
// Tests whose expected texts are in local civil time run with the time zone set to UTC and put
// the caller's zone back afterwards.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

class UtcTimeZoneTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        had_tz_ = tz != nullptr;
        if (tz) old_tz_ = tz;
        setenv("TZ", "UTC", 1);
    }
    void TearDown() override {
        if (had_tz_)
            setenv("TZ", old_tz_.c_str(), 1);
        else
            unsetenv("TZ");
    }

private:
    bool had_tz_ = false;
    std::string old_tz_;
};
