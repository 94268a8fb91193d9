// Reading records from JSON: what is tolerated, what is refused and with which message.
#include <gtest/gtest.h>

#include <string>

#include "service/records_compare.h"
#include "vornleads/error.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// Runs fn, which must raise ConversionError, and returns its message.
template <class Fn>
std::string conversionMessage(Fn fn) {
  try {
    fn();
  } catch (const ConversionError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no ConversionError raised";
  return "";
}

TEST(RecordsReading, MissingNullAndUnknownMembersKeepDefaults) {
  const auto parametro = TParametroPreparaAtualizaLeadVW::FromJSON(
      R"({"empresa":3,"extra":{"deep":[1,2]},"reenvio":null,"dataReagendamento":null})");
  EXPECT_EQ(parametro.empresa, 3);
  EXPECT_FALSE(parametro.reenvio);
  EXPECT_EQ(parametro.sequenciaReenvio, -1);
  EXPECT_EQ(parametro.dataReagendamento, "");

  // Missing nested members keep the record's own defaults: present for the update reply,
  // absent for a search reply.
  const auto atualiza = TRetornoAtualizaLeadClass::FromJSON("{}");
  EXPECT_EQ(atualiza, TRetornoAtualizaLeadClass{});
  EXPECT_TRUE(atualiza.Retorno.has_value());
  EXPECT_FALSE(TRetornoBuscaLeadsClass::FromJSON(R"({"Leads":null})").Status.has_value());
}

TEST(RecordsReading, NullMakesANestedRecordAbsent) {
  const auto atualiza =
      TRetornoAtualizaLeadClass::FromJSON(R"({"Status":null,"Retorno":{"Mensagem":"m"}})");
  EXPECT_FALSE(atualiza.Status.has_value());
  ASSERT_TRUE(atualiza.Retorno.has_value());
  EXPECT_EQ(atualiza.Retorno->Mensagem, "m");
  EXPECT_EQ(atualiza.Retorno->Retorno, "");
}

TEST(RecordsReading, ServiceReplyWithLeads) {
  const auto reply = TRetornoBuscaLeadsClass::FromJSON(
      R"({"Status":{"Codigo":0,"Descricao":"Ok","Versao":"1.0"},"Leads":[)"
      R"({"IdLead":"77","Nome":"Ana","Ddd":11.0,"Telefone":5551234,"Status":0,"Novo":1},)"
      R"({"IdLead":"78","DealerNumber":"4711"}]})");
  ASSERT_TRUE(reply.Status.has_value());
  EXPECT_EQ(reply.Status->Descricao, "Ok");
  ASSERT_EQ(reply.Leads.size(), 2u);
  EXPECT_EQ(reply.Leads[0].IdLead, "77");
  EXPECT_EQ(reply.Leads[0].Nome, "Ana");
  EXPECT_EQ(reply.Leads[0].Ddd, 11);
  EXPECT_EQ(reply.Leads[0].Telefone, 5551234);
  EXPECT_EQ(reply.Leads[1].DealerNumber, "4711");
  EXPECT_EQ(reply.Leads[1].Nome, "");
}

TEST(RecordsReading, IntegersTakeWholeNumbersOnly) {
  EXPECT_EQ(TContatoLeadVW::FromJSON(R"({"leadID":5.0})").leadID, 5);
  EXPECT_EQ(TContatoLeadVW::FromJSON(R"({"leadID":-2147483648})").leadID, -2147483648LL);
  EXPECT_EQ(TContatoLeadVW::FromJSON(R"({"leadID":2147483647})").leadID, 2147483647);
  const std::string wanted =
      R"(JSON member "leadID" of TContatoLeadVW must be a whole number from -2147483648 to )"
      R"(2147483647)";
  EXPECT_EQ(conversionMessage([] { TContatoLeadVW::FromJSON(R"({"leadID":1.5})"); }), wanted);
  EXPECT_EQ(conversionMessage([] { TContatoLeadVW::FromJSON(R"({"leadID":2147483648})"); }),
            wanted);
  EXPECT_EQ(conversionMessage([] { TContatoLeadVW::FromJSON(R"({"leadID":-2147483649})"); }),
            wanted);
  EXPECT_EQ(conversionMessage([] { TContatoLeadVW::FromJSON(R"({"leadID":"5"})"); }), wanted);
}

TEST(RecordsReading, WrongTypesNameTheRecordAndMember) {
  EXPECT_EQ(conversionMessage([] { TItemBuscaLeadsClass::FromJSON(R"({"IdLead":77})"); }),
            R"(JSON member "IdLead" of TItemBuscaLeadsClass must be text)");
  EXPECT_EQ(conversionMessage([] { TItemBuscaNovosLeadsClass::FromJSON(R"({"IdLead":"77"})"); }),
            R"(JSON member "IdLead" of TItemBuscaNovosLeadsClass must be a number)");
  EXPECT_EQ(
      conversionMessage([] { TParametroPreparaAtualizaLeadVW::FromJSON(R"({"reenvio":1})"); }),
      R"(JSON member "reenvio" of TParametroPreparaAtualizaLeadVW must be true or false)");
  EXPECT_EQ(conversionMessage([] { TRetornoAtualizaLeadClass::FromJSON(R"({"Retorno":"x"})"); }),
            R"(JSON member "Retorno" of TRetornoAtualizaLeadClass must be an object or null)");
  EXPECT_EQ(conversionMessage([] { TRetornoBuscaLeadsClass::FromJSON(R"({"Leads":{}})"); }),
            R"(JSON member "Leads" of TRetornoBuscaLeadsClass must be an array of objects)");
  EXPECT_EQ(conversionMessage([] { TRetornoBuscaLeadsClass::FromJSON(R"({"Leads":[{},3]})"); }),
            R"(JSON member "Leads" of TRetornoBuscaLeadsClass must be an array of objects)");
  // A fault inside a nested record names the nested record.
  EXPECT_EQ(conversionMessage(
                [] { TRetornoBuscaNovosLeadsClass::FromJSON(R"({"Status":{"Codigo":"0"}})"); }),
            R"(JSON member "Codigo" of TStatusClass must be a number)");
  EXPECT_EQ(conversionMessage([] {
              TRetornoBuscaHistoricoDealerClass::FromJSON(R"({"Historico":[{"Nome":false}]})");
            }),
            R"(JSON member "Nome" of TItemBuscaHistoricoDealerClass must be text)");
}

TEST(RecordsReading, DateTimes) {
  EXPECT_EQ(
      TEnviaBuscaNovosLeadsClass::FromJSON(R"({"DataHora":"2024-03-05T14:07:09.123"})").DataHora,
      EncodeDateTime({2024, 3, 5, 14, 7, 9, 123}));
  EXPECT_EQ(TEnviaBuscaNovosLeadsClass::FromJSON(R"({"DataHora":45356.5})").DataHora, 45356.5);
  const std::string wanted =
      R"(JSON member "DataHora" of TEnviaBuscaNovosLeadsClass must be a date and time as )"
      R"("yyyy-mm-ddThh:nn:ss.zzz")";
  for (const char* text :
       {R"({"DataHora":"2024-02-30T00:00:00.000"})", R"({"DataHora":"2024-03-05 14:07:09.123"})",
        R"({"DataHora":"2024-03-05T14:07:09"})", R"({"DataHora":"2024-03-05T24:00:00.000"})",
        R"({"DataHora":true})"}) {
    EXPECT_EQ(conversionMessage([text] { TEnviaBuscaNovosLeadsClass::FromJSON(text); }), wanted)
        << text;
  }
}

TEST(RecordsReading, TextThatIsNotAJsonObject) {
  EXPECT_EQ(conversionMessage([] { TStatusClass::FromJSON("[1,2]"); }),
            "JSON for TStatusClass must be an object, not array");
  EXPECT_EQ(conversionMessage([] { TStatusClass::FromJSON("null"); }),
            "JSON for TStatusClass must be an object, not null");
  EXPECT_EQ(conversionMessage([] { TStatusClass::FromJSON("{\"Codigo\":"); }),
            "Invalid JSON for TStatusClass: [json.exception.parse_error.101] parse error at line "
            "1, column 11: syntax error while parsing value - unexpected end of input; expected "
            "'[', '{', or a literal");
  // Valid JSON syntax, but beyond the range of a double.
  EXPECT_EQ(conversionMessage([] { TStatusClass::FromJSON(R"({"Codigo":-1e400})"); }),
            "Invalid JSON for TStatusClass: [json.exception.out_of_range.406] number overflow "
            "parsing '-1e400'");
  EXPECT_EQ(conversionMessage([] { TStatusClass::FromJSON(""); }),
            "Invalid JSON for TStatusClass: [json.exception.parse_error.101] parse error at line "
            "1, column 1: syntax error while parsing value - unexpected end of input; expected "
            "'[', '{', or a literal");
}

TEST(RecordsReading, FailedAssignLeavesTheRecordUntouched) {
  TItemAtualizaLeadClass item{"antes", "igual"};
  EXPECT_THROW(item.AssignFromJSON(R"({"Mensagem":"depois","Retorno":1})"), ConversionError);
  EXPECT_EQ(item, (TItemAtualizaLeadClass{"antes", "igual"}));

  // A successful assign replaces every field, including those the JSON leaves out.
  item.AssignFromJSON(R"({"Mensagem":"depois"})");
  EXPECT_EQ(item, (TItemAtualizaLeadClass{"depois", ""}));
}

}  // namespace
}  // namespace vornleads
