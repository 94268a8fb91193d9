// TInsert/MontaSQLInsert: the statement text in the three dialects, and that what it writes
// reads back unchanged from a real database. FormataString beside it.
#include "vornleads/data/insert_builder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "support/firebird_db.h"
#include "vornleads/data/conexao_simplificada.h"
#include "vornleads/data/formata_string.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

TInsert sampleInsert(const std::string& banco) {
  TInsert insert("CAC_INTERESSE", banco);
  insert.AddCampo("INTERESSE", int32_t{7});
  insert.AddCampo("CONTATO", int64_t{9876543210});
  insert.AddCampo("MODELO", std::string("x'y"));
  insert.AddCampo("PRETENDIDO_NU", "N");
  insert.AddCampo("PRECO", 1.5);
  insert.AddCampo("QTD", 3.0);
  insert.AddCampoDataHora("DTA", EncodeDateTime({2024, 3, 5, 14, 7, 9, 500}));
  insert.AddCampoDataHora("DIA", EncodeDate(2024, 3, 5));
  insert.AddCampoNulo("TIPO_MOEDA");
  return insert;
}

TEST(MontaSQLInsert, GoldenStatementsForTheThreeDialects) {
  EXPECT_EQ(
      "INSERT INTO CAC_INTERESSE (INTERESSE, CONTATO, MODELO, PRETENDIDO_NU, PRECO, QTD, DTA, DIA, "
      "TIPO_MOEDA) VALUES (7, 9876543210, 'x''y', 'N', 1.5, 3.0, "
      "CAST('2024-03-05 14:07:09' AS TIMESTAMP), CAST('2024-03-05' AS DATE), NULL)",
      MontaSQLInsert(sampleInsert("INTERBASE")));
  EXPECT_EQ(
      "INSERT INTO CAC_INTERESSE (INTERESSE, CONTATO, MODELO, PRETENDIDO_NU, PRECO, QTD, DTA, DIA, "
      "TIPO_MOEDA) VALUES (7, 9876543210, 'x''y', 'N', 1.5, 3.0, "
      "CAST('05-03-2024 14:07:09' AS DATETIME), CAST('05-03-2024' AS DATETIME), NULL)",
      MontaSQLInsert(sampleInsert("SQLSERVER")));
  EXPECT_EQ(
      "INSERT INTO CAC_INTERESSE (INTERESSE, CONTATO, MODELO, PRETENDIDO_NU, PRECO, QTD, DTA, DIA, "
      "TIPO_MOEDA) VALUES (7, 9876543210, 'x''y', 'N', 1.5, 3.0, "
      "TO_DATE('05/03/2024 14:07:09','dd/mm/yyyy HH24:MI:SS'), "
      "TO_DATE('05/03/2024','dd/mm/yyyy'), NULL)",
      MontaSQLInsert(sampleInsert("ORACLE")));
}

TEST(MontaSQLInsert, FloatsNeverUseAnExponent) {
  TInsert insert("T", "INTERBASE");
  insert.AddCampo("A", 1e20);
  insert.AddCampo("B", 0.000001);
  insert.AddCampo("C", -89990.99);
  insert.AddCampo("D", 0.1 + 0.2);
  EXPECT_EQ(
      "INSERT INTO T (A, B, C, D) VALUES (100000000000000000000.0, 0.000001, -89990.99, "
      "0.30000000000000004)",
      MontaSQLInsert(insert));
}

TEST(MontaSQLInsert, RefusesWhatCannotBeWritten) {
  EXPECT_THROW(MontaSQLInsert(TInsert("T", "INTERBASE")), VornError);
  TInsert infinite("T", "INTERBASE");
  infinite.AddCampo("A", std::numeric_limits<double>::infinity());
  EXPECT_THROW(MontaSQLInsert(infinite), VornError);
}

TEST(MontaSQLInsert, HostileTextReadsBackUnchangedFromFirebird) {
  test::TestDatabase db(false);
  auto connection = db.connect();
  TConexaoSimplificada conexao(*connection);
  const std::string hostile = "'; DROP TABLE CAC_INTERESSE; --\n'' \\ \"Conceição\" \t\r\n%_ 😀";
  TInsert insert("CAC_INTERESSE", conexao.banco());
  insert.AddCampo("INTERESSE", int32_t{1});
  insert.AddCampo("EMPRESA", int32_t{1});
  insert.AddCampo("REVENDA", int32_t{1});
  insert.AddCampo("MODELO", std::string("T-CROSS"));
  insert.AddCampo("PRECO", 129990.45);
  insert.AddCampoNulo("CONTATO");
  ASSERT_TRUE(conexao.executaDML(MontaSQLInsert(insert)));

  TInsert contato("CAC_CONTATO", conexao.banco());
  contato.AddCampo("EMPRESA", int32_t{1});
  contato.AddCampo("REVENDA", int32_t{1});
  contato.AddCampo("CONTATO", int32_t{1});
  contato.AddCampo("DES_CONTATO", hostile);
  contato.AddCampoDataHora("DTA_CONTATO", EncodeDateTime({2024, 3, 5, 14, 7, 9, 0}));
  ASSERT_TRUE(conexao.executaDML(MontaSQLInsert(contato)));

  EXPECT_EQ(hostile,
            conexao.executaSQLString("SELECT DES_CONTATO FROM CAC_CONTATO WHERE CONTATO = 1"));
  EXPECT_EQ("05/03/2024 14:07:09",
            conexao.executaSQLString("SELECT DTA_CONTATO FROM CAC_CONTATO WHERE CONTATO = 1"));
  EXPECT_EQ("129990,45",
            conexao.executaSQLString("SELECT PRECO FROM CAC_INTERESSE WHERE INTERESSE = 1"));
  EXPECT_EQ(1,
            conexao.executaSQLInteger("SELECT COUNT(*) FROM CAC_INTERESSE WHERE CONTATO IS NULL"));
}

TEST(FormataString, PadsDigitsWithZerosToTheMaskNeverCuts) {
  EXPECT_EQ("01234", FormataString("1234", "00000"));
  EXPECT_EQ("00777", FormataString("777", "00000"));
  EXPECT_EQ("00000", FormataString("", "00000"));
  EXPECT_EQ("12345", FormataString("12345", "00000"));
  EXPECT_EQ("1234567", FormataString("1234567", "00000"));
}

}  // namespace
}  // namespace vornleads
