// The integration over HTTPS: an intake and a status update through the library edition
// against the sandbox serving TLS under a throw-away authority, and the refusal of
// certificates that are not trusted or name another host.
#include <gtest/gtest.h>

#include <string>

#include "apps/feedback_cli.h"
#include "support/test_authority.h"

namespace vornleads::test {
namespace {

// Made before the fixture's sandbox, which serves its certificate.
struct WithAuthority {
  TestAuthority authority_;
};

class CliTlsTest : public WithAuthority, public FeedbackCliTest {
 protected:
  CliTlsTest()
      : FeedbackCliTest(
            SandboxTls{authority_.serverCert(), authority_.serverKey(), authority_.caFile()}) {
    environment_ = "VORNLEADS_CA_FILE=" + authority_.caFile().string();
  }
};

TEST_F(CliTlsTest, IntakeAndUpdateOverVerifiedTls) {
  ASSERT_EQ(sandbox_.url().rfind("https://127.0.0.1:", 0), 0u) << sandbox_.url();
  sandbox_.addLeads(Json::parse(
      R"([{"IdLead":"601","DealerNumber":"1234","Nome":"Ana Seguro","CpfCnpj":"41234567890",)"
      R"("Email":"ana@exemplo.com.br","Ddd":11,"Telefone":912345678,"Modelo":"GOL",)"
      R"("DataIntencao":"10/06/2025 10:00:00","Status":0}])"));
  const CliRun intake = vornleads("intake");
  EXPECT_EQ(intake.status, 0) << intake.err;
  EXPECT_EQ(intake.out,
            "intake: 1 dealers, 1 leads read, 1 contacts created, 0 linked, 0 revised, 0 closed, "
            "0 failed, 1 confirmed, 1 cycle\n");

  addLeadContact(10, 555);
  const CliRun update =
      vornleads("update --empresa 1 --revenda 1 --contato 10 --lead 555 --usuario 12 --status 10");
  EXPECT_EQ(update.status, 0) << update.err;
  EXPECT_EQ(journal(555), "1 S null \n");
  EXPECT_EQ(sandbox_.updates().size(), 2u);  // the intake's confirmation and the update
}

TEST_F(CliTlsTest, UntrustedOrMisnamedCertificatesAreRefused) {
  const std::string refused = "o certificado do servidor foi recusado: ";
  // The system's authorities do not know the test's own.
  environment_ = "env -u VORNLEADS_CA_FILE";
  const CliRun untrusted = vornleads("call BuscaLeads '{}'");
  EXPECT_EQ(untrusted.status, 1);
  EXPECT_NE(untrusted.err.find(refused), std::string::npos) << untrusted.err;

  // Trusted, but issued for 127.0.0.1, not for localhost.
  environment_ = "VORNLEADS_CA_FILE=" + authority_.caFile().string();
  std::string localhost = sandbox_.url();
  localhost.replace(localhost.find("127.0.0.1"), 9, "localhost");
  const CliRun misnamed = vornleads("call BuscaLeads '{}'", {}, localhost);
  EXPECT_EQ(misnamed.status, 1);
  EXPECT_NE(misnamed.err.find(refused), std::string::npos) << misnamed.err;
  EXPECT_NE(misnamed.err.find("localhost"), std::string::npos) << misnamed.err;
  EXPECT_TRUE(sandbox_.updates().empty());
}

}  // namespace
}  // namespace vornleads::test
