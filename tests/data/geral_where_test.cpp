#include <gtest/gtest.h>

#include "vornleads/data/geral.h"

namespace vornleads {
namespace {

TEST(SQLEmpresaRevendaTest, ModeZeroComparesEveryPair) {
  EXPECT_EQ(SQLEmpresaRevenda("1.1,1.2", "EMPRESA", "REVENDA", 0),
            "(EMPRESA = 1 and REVENDA = 1) or (EMPRESA = 1 and REVENDA = 2)");
  EXPECT_EQ(SQLEmpresaRevenda("3.10", "E", "R", 0), "(E = 3 and R = 10)");
  EXPECT_EQ(SQLEmpresaRevenda("1.1,1.2,", "EMPRESA", "REVENDA", 0),
            "(EMPRESA = 1 and REVENDA = 1) or (EMPRESA = 1 and REVENDA = 2)");
}

TEST(SQLEmpresaRevendaTest, ModeOneListsTheCompaniesOnly) {
  EXPECT_EQ(SQLEmpresaRevenda("1.1,1.2,2.1", "EMPRESA", "REVENDA", 1), "EMPRESA in (1,1,2)");
  EXPECT_EQ(SQLEmpresaRevenda("7.3", "EMPRESA", "REVENDA", 1), "EMPRESA in (7)");
}

TEST(SQLEmpresaRevendaTest, ModeTwoGroupsConsecutiveCompanies) {
  EXPECT_EQ(SQLEmpresaRevenda("1.1,1.2,2.1", "EMPRESA", "REVENDA", 2),
            "((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in (1)))");
  EXPECT_EQ(SQLEmpresaRevenda("1.1,1.2", "EMPRESA", "REVENDA", 2),
            "((EMPRESA = 1 and REVENDA in (1,2)))");
  EXPECT_EQ(SQLEmpresaRevenda("1.1,2.1,1.2", "EMPRESA", "REVENDA", 2),
            "((EMPRESA = 1 and REVENDA in (1)) or (EMPRESA = 2 and REVENDA in (1)) or "
            "(EMPRESA = 1 and REVENDA in (2)))");
  // Companies are compared without blanks; the group keeps its first item's text.
  EXPECT_EQ(SQLEmpresaRevenda("1.1, 1.2,2.3", "EMPRESA", "REVENDA", 2),
            "((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in (3)))");
}

TEST(SQLEmpresaRevendaTest, ModeTwoWithOnePairFallsBackToModeZero) {
  EXPECT_EQ(SQLEmpresaRevenda("1.1", "EMPRESA", "REVENDA", 2), "(EMPRESA = 1 and REVENDA = 1)");
}

TEST(SQLEmpresaRevendaTest, EmptyPairs) {
  EXPECT_EQ(SQLEmpresaRevenda("", "EMPRESA", "REVENDA", 0), "");
  EXPECT_EQ(SQLEmpresaRevenda("", "EMPRESA", "REVENDA", 1), "EMPRESA in ()");
  EXPECT_EQ(SQLEmpresaRevenda("", "EMPRESA", "REVENDA", 2), "");
}

TEST(SQLEmpresaRevendaTest, OtherModesStopBeforeTheLastGroupsDealerships) {
  EXPECT_EQ(SQLEmpresaRevenda("1.1,1.2,2.1", "EMPRESA", "REVENDA", 3),
            "((EMPRESA = 1 and REVENDA in (1,2)) or (EMPRESA = 2 and REVENDA in (");
  EXPECT_EQ(SQLEmpresaRevenda("1.1", "EMPRESA", "REVENDA", -1), "((EMPRESA = 1 and REVENDA in (");
}

TEST(SQLChaveCompostaTest, QuotedColumnNamesMarkTextColumns) {
  EXPECT_EQ(SQLChaveComposta("1,1,ABC1234|1,2,XYZ9876", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", ""),
            "(EMPRESA = 1 and REVENDA = 1 and PLACA = 'ABC1234' or "
            "EMPRESA = 1 and REVENDA = 2 and PLACA = 'XYZ9876')");
  // Without types the value goes in as it stands; the typed form strips quotes instead.
  EXPECT_EQ(SQLChaveComposta("D'Avila", "\"NOME\"", ",", "|", ""), "(NOME = 'D'Avila')");
  EXPECT_EQ(SQLChaveComposta("D'Avila", "\"NOME\"", ",", "|", "S"), "(NOME = 'DAvila')");
}

TEST(SQLChaveCompostaTest, ValuesAreTrimmedAndTheLastColumnTakesTheRest) {
  EXPECT_EQ(SQLChaveComposta(" 1 , 2 , ABC 12 ", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", ""),
            "(EMPRESA = 1 and REVENDA = 2 and PLACA = 'ABC 12')");
  EXPECT_EQ(SQLChaveComposta("1,x,y", "A;B", ",", "|", ""), "(A = 1 and B = x,y)");
  EXPECT_EQ(SQLChaveComposta("5", "CODIGO", ",", "|", ""), "(CODIGO = 5)");
}

TEST(SQLChaveCompostaTest, LongerSeparators) {
  EXPECT_EQ(SQLChaveComposta("1;;2##3;;4", "A;B", ";;", "##", ""),
            "(A = 1 and B = 2 or A = 3 and B = 4)");
}

TEST(SQLChaveCompostaTest, TypesDecideTheQuotingAndDropSingleQuotes) {
  EXPECT_EQ(SQLChaveComposta("1,1,AB'C", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", "N;N;S"),
            "(EMPRESA = 1 and REVENDA = 1 and PLACA = 'ABC')");
  EXPECT_EQ(SQLChaveComposta("1,1,ABC", "EMPRESA;REVENDA;\"PLACA\"", ",", "|", "N;N;N"),
            "(EMPRESA = 1 and REVENDA = 1 and PLACA = ABC)");
  EXPECT_EQ(SQLChaveComposta("O'Neil,7|Ana,8", "NOME;CODIGO", ",", "|", "S;N"),
            "(NOME = 'ONeil' and CODIGO = 7 or NOME = 'Ana' and CODIGO = 8)");
  // A column without a type letter is written bare.
  EXPECT_EQ(SQLChaveComposta("x,y", "A;B", ",", "|", "S"), "(A = 'x' and B = y)");
}

TEST(SQLChaveCompostaTest, NoRecordsGiveEmptyParentheses) {
  EXPECT_EQ(SQLChaveComposta("", "A;B", ",", "|", ""), "()");
}

}  // namespace
}  // namespace vornleads
