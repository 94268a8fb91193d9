// vornleads resend: one pass over the unsent updates, as a program, ending with its summary.
#include <gtest/gtest.h>

#include <string>

#include "apps/feedback_cli.h"

namespace vornleads::test {
namespace {

using CliResendTest = FeedbackCliTest;

TEST_F(CliResendTest, PassesUntilNothingIsLeft) {
  addLeadContact(10, 501);
  addLeadContact(11, 502);
  addLeadContact(12, 503, 120);  // too old: switched off by the pass
  addUnsentRow(501, 1, 10);
  addUnsentRow(502, 1, 10);
  addUnsentRow(503, 1, 10);
  sandbox_.fault({{"operation", "AtualizaLeads"}, {"mode", "reject"}, {"codigo", 150}});

  const CliRun first = vornleads("resend");
  EXPECT_EQ(0, first.status) << first.err;
  EXPECT_EQ("resend: 3 rows read, 1 sent, 1 rejected, 1 still unsent\n", first.out);
  EXPECT_EQ("", first.err) << "a resend notifies nobody";

  const CliRun second = vornleads("resend");
  EXPECT_EQ("resend: 1 rows read, 1 sent, 0 rejected, 0 still unsent\n", second.out);
  const CliRun third = vornleads("resend");
  EXPECT_EQ("resend: 0 rows read, 0 sent, 0 rejected, 0 still unsent\n", third.out);

  EXPECT_EQ("1 S null \n", journal(501));
  EXPECT_EQ("1 S null \n", journal(502));
  EXPECT_EQ("1 N 297 \n", journal(503)) << "left as it was";
  EXPECT_EQ(3u, sandbox_.updates().size());
}

TEST_F(CliResendTest, AWorkerErrorEndsThePassWithStatusOne) {
  addLeadContact(10, 501);
  addUnsentRow(501, 1, 9, "CURRENT_TIMESTAMP + 400");
  const CliRun run = vornleads("resend");
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("resend: 1 rows read, 0 sent, 0 rejected, 1 still unsent\n", run.out);
  EXPECT_EQ("vornleads: Não é possível reagendar para um período maior que 6 meses\n", run.err);
}

}  // namespace
}  // namespace vornleads::test
