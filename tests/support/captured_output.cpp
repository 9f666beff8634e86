#include "support/captured_output.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utility>

namespace ostrel::testing {

CapturedOutput::CapturedOutput(int descriptor) : descriptor_(descriptor), original_(::dup(descriptor)) {
    EXPECT_TRUE(file_.open());
    std::fflush(nullptr); // what the test program printed before belongs where it was meant to go
    ::dup2(file_.handle(), descriptor_);
}

CapturedOutput::~CapturedOutput() { finish(); }

QByteArray CapturedOutput::finish() {
    if (original_ < 0) return {};
    std::fflush(nullptr);
    ::dup2(original_, descriptor_);
    ::close(std::exchange(original_, -1));
    file_.seek(0);
    return file_.readAll();
}

} // namespace ostrel::testing
