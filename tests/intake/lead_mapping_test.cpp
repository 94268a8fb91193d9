// A reply item becomes the working lead: conversions and the fields that are optional.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "intake/conversoes.h"
#include "support/recording_connection.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {
namespace {

using intake::ArredondaInteiro;
using intake::TextoParaInteiro;
using intake::TextoParaReal;

TEST(ConversoesTest, IntegersAsTheHostReadsThem) {
  EXPECT_EQ(TextoParaInteiro("5001"), 5001);
  EXPECT_EQ(TextoParaInteiro("  12"), 12);
  EXPECT_EQ(TextoParaInteiro("+7"), 7);
  EXPECT_EQ(TextoParaInteiro("-2147483648"), std::numeric_limits<int32_t>::min());
  for (const char* bad :
       {"", " ", "12 ", "1e3", "12a", "2147483648", "99999999999999999999", "-"}) {
    SCOPED_TRACE(bad);
    try {
      TextoParaInteiro(bad);
      ADD_FAILURE() << "accepted";
    } catch (const ConversionError& error) {
      EXPECT_EQ(error.what(), "\"" + std::string(bad) + "\" is not a valid integer value");
    }
  }
}

TEST(ConversoesTest, NearestIntegerTakesHalvesToEven) {
  EXPECT_EQ(ArredondaInteiro(2.5), 2);
  EXPECT_EQ(ArredondaInteiro(3.5), 4);
  EXPECT_EQ(ArredondaInteiro(-2.5), -2);
  EXPECT_EQ(ArredondaInteiro(987654321.4), 987654321);
  EXPECT_THROW(ArredondaInteiro(11987654321.0), ConversionError);
  EXPECT_THROW(ArredondaInteiro(std::nan("")), ConversionError);
}

TEST(ConversoesTest, PricesWithDecimalCommaOrPoint) {
  EXPECT_DOUBLE_EQ(TextoParaReal("150000,75"), 150000.75);
  EXPECT_DOUBLE_EQ(TextoParaReal("150000.75"), 150000.75);
  EXPECT_DOUBLE_EQ(TextoParaReal(" -3 "), -3);
  EXPECT_DOUBLE_EQ(TextoParaReal("1,5E2"), 150);
  for (const char* bad : {"", "abc", "1.000,00", "R$ 10", "1,5,0", "1e", "1e999"}) {
    SCOPED_TRACE(bad);
    try {
      TextoParaReal(bad);
      ADD_FAILURE() << "accepted";
    } catch (const ConversionError& error) {
      EXPECT_EQ(error.what(), "\"" + std::string(bad) + "\" is not a valid floating point value");
    }
  }
}

class LeadMappingTest : public ::testing::Test {
 protected:
  LeadMappingTest() : connection_("Firebird"), worker_(aplicacao_, connection_) {
    SqlRowSet revenda;
    revenda.columns = {"EMPRESA", "REVENDA"};
    revenda.rows = {{SqlValue::integer(1), SqlValue::integer(2)}};
    connection_.respondAlways(
        "SELECT EMPRESA,        REVENDA   FROM VWB_PARAMETRO  WHERE NUMERO_DN = '01234'", revenda);
    item_.IdLead = "5001";
    item_.DealerNumber = "1234";
    item_.Nome = "Ana \"Bia\" D'Ávila";
    item_.CpfCnpj = "52998224725";
    item_.Email = "ana@x.com";
    item_.Telefone = 987654321.5;
    item_.Ddd = 11.4;
    item_.Modelo = "POLO";
    item_.DataIntencao = "10/06/2025 10:30:15";
    item_.Status = 9.5;
    item_.Origem = "Site";
    item_.Mensagem = "Oi";
    item_.Showroom = "Centro";
  }

  TAplicacaoLibrary aplicacao_;
  RecordingConnection connection_;
  TLeadsVWMetodosClass worker_;
  TItemBuscaLeadsClass item_;
  TContatoLeadVW lead_;
};

TEST_F(LeadMappingTest, EveryFieldIsTakenOver) {
  item_.DataIntencaoAgendamento = "11/06/2025 15:00:00";
  item_.PreferenciaContato = "WhatsApp";
  item_.Preco = "98500,90";
  worker_.preencheLead(item_, lead_);
  EXPECT_EQ(lead_.AsJSON(),
            R"({"empresa":1,"revenda":2,"codigoContato":0,"codigoCliente":0,)"
            R"("nome":"Ana Bia DÁvila","DDD":11,"telefone":987654322,"cpfcnpj":"52998224725",)"
            R"("modelo":"POLO","email":"ana@x.com","leadID":5001,"PrecoPretendido":98500.9,)"
            R"("formaContato":0,"tipoContato":0,"subTipoContato":0,"departamento":0,)"
            R"("usuarioCorreio":0,"origemTrafego":0,"dataIntencao":"2025-06-10T10:30:15.000",)"
            R"("vendedorInclusao":0,"status":10,"origem":"Site","mensagem":"Oi",)"
            R"("dataIntencaoAgendamento":"2025-06-11T15:00:00.000","showroom":"Centro",)"
            R"("preferenciaContato":"WhatsApp"})");
}

TEST_F(LeadMappingTest, EmptyOptionalFieldsKeepTheirDefaults) {
  worker_.preencheLead(item_, lead_);
  EXPECT_EQ(lead_.dataIntencaoAgendamento, 0);
  EXPECT_EQ(lead_.preferenciaContato, "");
  EXPECT_EQ(lead_.PrecoPretendido, 0);
}

TEST_F(LeadMappingTest, UnreadableFieldsFailTheLead) {
  item_.DataIntencao = "";
  EXPECT_THROW(worker_.preencheLead(item_, lead_), ConversionError);
  item_.DataIntencao = "2025-06-10 10:00";
  EXPECT_THROW(worker_.preencheLead(item_, lead_), ConversionError);
  item_.DataIntencao = "10/06/2025 10:00:00";
  item_.DealerNumber = "12;34";
  EXPECT_THROW(worker_.preencheLead(item_, lead_), ConversionError);
}

}  // namespace
}  // namespace vornleads::test
