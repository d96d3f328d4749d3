#pragma once

#include <gtest/gtest.h>

#include "app/worker_app_delegate.h"
#include "platform/fake_platform.h"
#include "support/sample_home.h"

namespace tasselby::testing {

// A temporary home, the fake platform over it and a delegate: the fixture of
// the tests that drive the delegate's cleaners directly.
class DelegateTest : public ::testing::Test {
protected:
    TemporaryFolder folder{"tasselby-home"};
    SampleHome home{folder.path()};
    FakePlatform platform{folder.path()};
    WorkerAppDelegate delegate{platform};
};

}  // namespace tasselby::testing
