#pragma once

// libapexsupport as platform level 37 has it, in a test program: AApexInfo_createWithName finds the
// APEXes that the test installs here and reports any other as missing. While a FakeApexSupport
// lives, the calls are recorded; creating one starts from no APEX and no calls. A program without
// the fake runs on the host stand-in, which lacks AApexInfo_createWithName as today's platform does.
//
//   FakeApexSupport apex;
//   apex.Install("com.example.apex", 0x1a00000005);
//   Resources resources;   // reads version 0x1a00000005
//   EXPECT_THAT(apex.CreateCalls(), ElementsAre("com.example.apex"));

#include <cstdint>
#include <string>
#include <vector>

namespace autl::test {

class FakeApexSupport {
  public:
    FakeApexSupport();
    ~FakeApexSupport();
    FakeApexSupport(const FakeApexSupport&) = delete;
    FakeApexSupport& operator=(const FakeApexSupport&) = delete;

    // Makes AApexInfo_createWithName(name) succeed with a handle that reports `version`.
    void Install(std::string name, int64_t version);
    // The names passed to AApexInfo_createWithName, in order.
    std::vector<std::string> CreateCalls() const;
    // Handles made and not destroyed yet.
    int OpenHandles() const;
};

}  // namespace autl::test
