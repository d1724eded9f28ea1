#include "cli/dsp/push.h"

#include <gtest/gtest.h>

namespace orv::cli {
namespace {

// A driver that reports nothing, as on a machine that is not simulated.
TEST(OrvctlDsp, WithoutEvidenceNothingIsVerified) {
  DspPlan plan;
  plan.blocks = {{"qualcomm", 0x10005011, std::vector<std::byte>(4), 2}};
  EXPECT_EQ(VerdictText(ComparePush(plan, S_OK, {})),
            "Sent, not read back: 1 block. This driver does not report what it took.");
  EXPECT_EQ(ToJson(ComparePush(plan, S_OK, {}))["verdict"], "sent, not read back");
  EXPECT_EQ(ToJson(ComparePush({}, S_OK, {}))["verdict"], "differs") << "nothing to send";
  DspEvidence evidence;
  evidence.received = plan.blocks;
  EXPECT_FALSE(ComparePush(plan, S_OK, evidence).differs());
  evidence.received->front().selector = 1;
  const PushOutcome outcome = ComparePush(plan, S_OK, evidence);
  ASSERT_EQ(outcome.differences.size(), 1U);
  EXPECT_EQ(outcome.differences[0].control, "form factor");
  evidence.received->clear();
  EXPECT_EQ(ToJson(ComparePush(plan, S_OK, evidence))["differences"],
            Json::parse(R"([{"block": "flags", "control": "the whole block", "sent": null,
                             "read": null, "reason": "the driver did not receive it"}])"));
}

}  // namespace
}  // namespace orv::cli
