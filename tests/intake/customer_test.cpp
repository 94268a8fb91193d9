// Customer matching (tax number, then e-mail, then phone) and prospect registration, on the
// sample database inside a transaction that each test rolls back.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/firebird_db.h"
#include "support/recording_connection.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"

namespace vornleads::test {
namespace {

class CustomerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { db_ = std::make_unique<TestDatabase>(true); }
  static void TearDownTestSuite() { db_.reset(); }

  void SetUp() override {
    connection_ = db_->connect();
    connection_->beginTransaction();
    worker_ = std::make_unique<TLeadsVWMetodosClass>(aplicacao_, *connection_);
    for (const char* sql : {
             "INSERT INTO FAT_CLIENTE (CLIENTE, NOME, E_MAIL_CASA) VALUES (501, 'CASA', 'a@x.com')",
             "INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (502, 'PESSOA')",
             "INSERT INTO FAT_PESSOA_FISICA (CLIENTE, CPF) VALUES (502, '11144477735')",
             "INSERT INTO FAT_CLIENTE (CLIENTE, NOME, E_MAIL_TRABALHO) VALUES (503, 'TRAB', "
             "'w@x.com')",
             "INSERT INTO FAT_CLIENTE (CLIENTE, NOME) VALUES (504, 'FIRMA')",
             "INSERT INTO FAT_PESSOA_JURIDICA (CLIENTE, CGC) VALUES (504, '111.444.777-35')",
             "INSERT INTO FAT_CLIENTE (CLIENTE, NOME, DDD_CELULAR, CELULAR) VALUES (505, 'CEL', "
             "11, 999990001)",
             "INSERT INTO FAT_CLIENTE (CLIENTE, NOME, DDD_TELEFONE, TELEFONE) VALUES (506, 'FIXO', "
             "21, 33334444)",
         }) {
      connection_->execute(sql);
    }
    lead_.leadID = 9;
    lead_.empresa = 1;
    lead_.revenda = 1;
    lead_.vendedorInclusao = 1;
  }

  void TearDown() override {
    worker_.reset();
    connection_->rollback();
    connection_.reset();
  }

  std::string value(const std::string& sql) {
    const SqlRowSet rows = connection_->query(sql);
    std::string text;
    for (size_t c = 0; !rows.empty() && c < rows.columns.size(); ++c) {
      text += (c ? "|" : "") + (rows.rows[0][c].isNull() ? "<null>" : rows.rows[0][c].asString());
    }
    return text;
  }

  static std::unique_ptr<TestDatabase> db_;
  std::unique_ptr<SqlConnection> connection_;
  TAplicacaoLibrary aplicacao_;
  std::unique_ptr<TLeadsVWMetodosClass> worker_;
  TContatoLeadVW lead_;
};

std::unique_ptr<TestDatabase> CustomerTest::db_;

TEST_F(CustomerTest, CpfWinsOverAnotherCustomersEmail) {
  lead_.cpfcnpj = "11144477735";
  lead_.email = "a@x.com";
  EXPECT_EQ(worker_->retornaCliente(lead_), 502);
}

TEST_F(CustomerTest, EmailMatchesHomeOrWorkAddressExactly) {
  lead_.cpfcnpj = "99988877766";
  lead_.email = "a@x.com";
  EXPECT_EQ(worker_->retornaCliente(lead_), 501);
  lead_.email = "w@x.com";
  EXPECT_EQ(worker_->retornaCliente(lead_), 503);
  lead_.email = "W@x.com";
  EXPECT_EQ(worker_->retornaCliente(lead_), -1);
}

TEST_F(CustomerTest, PunctuatedCpfIsLookedUpAsCnpj) {
  lead_.cpfcnpj = "111.444.777-35";
  EXPECT_EQ(worker_->retornaCliente(lead_), 504);
}

TEST_F(CustomerTest, PhoneMatchesMobileOrLandline) {
  lead_.cpfcnpj = "";
  lead_.DDD = 11;
  lead_.telefone = 999990001;
  EXPECT_EQ(worker_->retornaCliente(lead_), 505);
  lead_.DDD = 21;
  lead_.telefone = 33334444;
  EXPECT_EQ(worker_->retornaCliente(lead_), 506);
  lead_.DDD = 0;
  EXPECT_EQ(worker_->retornaCliente(lead_), -1);
}

TEST_F(CustomerTest, ProspectWithCpfGetsAPersonRow) {
  lead_.cpfcnpj = "22233344405";
  lead_.nome = "joão da silva";
  lead_.email = "joao@x.com";
  lead_.DDD = 31;
  lead_.telefone = 988887777;
  const int32_t cliente = worker_->cadastraCliente(lead_);
  const std::string codigo = std::to_string(cliente);
  EXPECT_EQ(value("SELECT NOME, PROSPECT, E_MAIL_CASA, DDD_TELEFONE, TELEFONE, VENDEDOR, "
                  "EMPRESA_CADASTRO, REVENDA_CADASTRO FROM FAT_CLIENTE WHERE CLIENTE = " +
                  codigo),
            "JOÃO DA SILVA|S|joao@x.com|31|988887777|1|1|1");
  EXPECT_EQ(value("SELECT CPF, CONTADOR FROM FAT_PESSOA_FISICA WHERE CLIENTE = " + codigo),
            "22233344405|0");
  EXPECT_EQ(value("SELECT COUNT(*) FROM FAT_PESSOA_JURIDICA WHERE CLIENTE = " + codigo), "0");
  EXPECT_EQ(worker_->retornaCliente(lead_), cliente);
}

TEST_F(CustomerTest, ProspectWithAnyOtherTaxNumberGetsAFirmRow) {
  for (const char* documento : {"222.333.444-05", ""}) {
    SCOPED_TRACE(documento);
    lead_.cpfcnpj = documento;
    lead_.nome = "Oficina";
    const std::string codigo = std::to_string(worker_->cadastraCliente(lead_));
    EXPECT_EQ(value("SELECT CGC, INDICADOR_INSCRICAO_ESTADUAL, INSCRICAO_ESTADUAL, CONTADOR "
                    "FROM FAT_PESSOA_JURIDICA WHERE CLIENTE = " +
                    codigo),
              std::string(documento) + "|3| |0");
    EXPECT_EQ(value("SELECT COUNT(*) FROM FAT_PESSOA_FISICA WHERE CLIENTE = " + codigo), "0");
  }
}

TEST_F(CustomerTest, FailedRegistrationNamesTheLeadAndTheReason) {
  lead_.cpfcnpj = "22233344405";
  lead_.nome = std::string(151, 'N');
  try {
    worker_->cadastraCliente(lead_);
    FAIL() << "cadastraCliente did not raise";
  } catch (const VornError& error) {
    const std::string head =
        "Não foi possível incluir o lead 9\r\nNão foi possível cadastrar o cliente\r\n";
    const std::string message = error.what();
    EXPECT_EQ(message.substr(0, head.size()), head);
    EXPECT_NE(message.find("string right truncation"), std::string::npos);
  }
}

TEST(CustomerSqlTest, EachKeyIsTriedInOrderWithLiteralsQuoted) {
  RecordingConnection connection("Firebird");
  TAplicacaoLibrary aplicacao;
  TLeadsVWMetodosClass worker(aplicacao, connection);
  TContatoLeadVW lead;
  lead.cpfcnpj = "1234567890'";
  lead.email = "o'brien@x.com";
  lead.DDD = 11;
  lead.telefone = 987654321;
  EXPECT_EQ(worker.retornaCliente(lead), -1);
  EXPECT_EQ(connection.statements(),
            (std::vector<std::string>{
                "SELECT CLIENTE   FROM FAT_PESSOA_FISICA FPF  WHERE FPF.CPF = '1234567890'''",
                "SELECT CLIENTE   FROM FAT_CLIENTE  WHERE ((E_MAIL_CASA = 'o''brien@x.com')    OR "
                "(E_MAIL_TRABALHO = 'o''brien@x.com'))",
                "SELECT CLIENTE   FROM FAT_CLIENTE  WHERE ((DDD_CELULAR = 11   AND CELULAR = "
                "987654321)    OR (DDD_TELEFONE = 11   AND TELEFONE = 987654321))"}));

  // No e-mail and no phone: the tax number alone, an empty one included.
  connection.clearStatements();
  lead = TContatoLeadVW{};
  lead.telefone = 987654321;
  EXPECT_EQ(worker.retornaCliente(lead), -1);
  EXPECT_EQ(connection.statements(),
            std::vector<std::string>{
                "SELECT CLIENTE   FROM FAT_PESSOA_JURIDICA FPJ  WHERE FPJ.CGC = ''"});
}

}  // namespace
}  // namespace vornleads::test
