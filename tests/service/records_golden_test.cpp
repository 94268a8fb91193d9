// The JSON text of records, written out in full: member names, order, number and date forms.
#include <gtest/gtest.h>

#include <limits>

#include "service/records_compare.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

TItemBuscaLeadsClass sampleLead() {
  TItemBuscaLeadsClass item;
  item.Acabamento = "Highline";
  item.Cor = "Branco";
  item.CpfCnpj = "123.456.789-09";
  item.DataIntencao = "05/03/2024";
  item.Ddd = 11;
  item.DealerNumber = "4711";
  item.Email = "a@b.com";
  item.IdLead = "L-1";
  item.Modelo = "Polo";
  item.Nome = "João";
  item.Opcionais = "Teto";
  item.Status = 1;
  item.Telefone = 987654321;
  item.Preco = "150000";
  item.Origem = "Site";
  item.Mensagem = "Olá";
  item.DataIntencaoAgendamento = "06/03/2024";
  item.Showroom = "S";
  item.PreferenciaContato = "Email";
  return item;
}

const char* const kSampleLeadJson =
    R"({"Acabamento":"Highline","Cor":"Branco","CpfCnpj":"123.456.789-09",)"
    R"("DataIntencao":"05/03/2024","Ddd":11,"DealerNumber":"4711","Email":"a@b.com",)"
    R"("IdLead":"L-1","Modelo":"Polo","Nome":"João","Opcionais":"Teto","Status":1,)"
    R"("Telefone":987654321,"Preco":"150000","Origem":"Site","Mensagem":"Olá",)"
    R"("DataIntencaoAgendamento":"06/03/2024","Showroom":"S","PreferenciaContato":"Email"})";

TEST(RecordsGolden, FreshRecords) {
  EXPECT_EQ(TStatusClass{}.AsJSON(), R"({"Codigo":0,"Descricao":"","Versao":""})");
  EXPECT_EQ(TRetornoBuscaLeadsClass{}.AsJSON(), R"({"Status":null,"Leads":[]})");
  EXPECT_EQ(TRetornoBuscaNovosLeadsClass{}.AsJSON(), R"({"Status":null,"Novos":[]})");
  EXPECT_EQ(TRetornoBuscaHistoricoDealerClass{}.AsJSON(), R"({"Status":null,"Historico":[]})");
  EXPECT_EQ(TRetornoAtualizaLeadClass{}.AsJSON(),
            R"({"Status":{"Codigo":0,"Descricao":"","Versao":""},)"
            R"("Retorno":{"Mensagem":"","Retorno":""}})");
  EXPECT_EQ(TParametroPreparaAtualizaLeadVW{}.AsJSON(),
            R"({"empresa":0,"revenda":0,"contato":0,"usuarioAtualizacao":0,)"
            R"("codigoAtualizacao":0,"dataReagendamento":"","reenvio":false,)"
            R"("sequenciaReenvio":-1,"dataAtualizacaoReenvio":"","idLead":0})");
  EXPECT_EQ(TEnviaBuscaNovosLeadsClass{}.AsJSON(), R"({"DataHora":"1899-12-30T00:00:00.000"})");
}

TEST(RecordsGolden, TextIsEscapedAsJsonRequires) {
  const TStatusClass status{297, "Parâmetros \"x\" C:\\y\r\n\t\x01\x1f/", "1.0"};
  EXPECT_EQ(status.AsJSON(),
            R"({"Codigo":297,"Descricao":"Parâmetros \"x\" C:\\y\r\n\t\u0001\u001f/",)"
            R"("Versao":"1.0"})");
  // A broken UTF-8 sequence is replaced, not an error.
  EXPECT_EQ(TEnviaBuscaLeadsClass{"a\xC3(b"}.AsJSON(), "{\"DNs\":\"a\xEF\xBF\xBD(b\"}");
}

TEST(RecordsGolden, NumbersAreWholeWhereTheyCanBe) {
  EXPECT_EQ((TEnviaAtualizaLeadClass{"12345678901", "05/03/2024 14:07:09", "", 4242, -1}.AsJSON()),
            R"({"Cpf":"12345678901","DataAtualizacao":"05/03/2024 14:07:09",)"
            R"("DataReagendamento":"","IdLead":4242,"Status":-1})");
  EXPECT_EQ((TEnviaAtualizaLeadClass{"", "", "", 123456789012.0, 12.5}.AsJSON()),
            R"({"Cpf":"","DataAtualizacao":"","DataReagendamento":"","IdLead":123456789012,)"
            R"("Status":12.5})");
  EXPECT_EQ((TEnviaAtualizaLeadClass{"", "", "", 0.1, 1e20}.AsJSON()),
            R"({"Cpf":"","DataAtualizacao":"","DataReagendamento":"","IdLead":0.1,)"
            R"("Status":1e+20})");
  EXPECT_EQ(
      (TEnviaAtualizaLeadClass{"", "", "", -0.0, std::numeric_limits<double>::infinity()}.AsJSON()),
      R"({"Cpf":"","DataAtualizacao":"","DataReagendamento":"","IdLead":0,)"
      R"("Status":null})");
}

TEST(RecordsGolden, LeadItems) {
  EXPECT_EQ(sampleLead().AsJSON(), kSampleLeadJson);

  TItemBuscaHistoricoDealerClass historico;
  historico.Ddd = 21.5;
  historico.IdLead = 987;
  historico.Nome = "Ana";
  EXPECT_EQ(historico.AsJSON(),
            R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":21.5,)"
            R"("Email":"","IdLead":987,"Modelo":"","Nome":"Ana","Opcionais":"","Status":0,)"
            R"("Telefone":0,"Preco":"","Origem":"","Mensagem":"",)"
            R"("DataIntencaoAgendamento":"","Showroom":"","PreferenciaContato":""})");

  TItemBuscaNovosLeadsClass novo;
  novo.IdLead = 31;
  novo.DealerNumber = "4711";
  EXPECT_EQ(novo.AsJSON(),
            R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,)"
            R"("DealerNumber":"4711","Email":"","IdLead":31,"Modelo":"","Nome":"",)"
            R"("Opcionais":"","Status":0,"Telefone":0,"Preco":"","Origem":"","Mensagem":"",)"
            R"("DataIntencaoAgendamento":"","Showroom":"","PreferenciaContato":""})");
}

TEST(RecordsGolden, ReplyWithStatusAndLeads) {
  TRetornoBuscaLeadsClass reply;
  reply.Status = TStatusClass{0, "Ok", "1.0"};
  reply.Leads = {sampleLead(), sampleLead()};
  EXPECT_EQ(reply.AsJSON(),
            std::string(R"({"Status":{"Codigo":0,"Descricao":"Ok","Versao":"1.0"},)") +
                R"("Leads":[)" + kSampleLeadJson + "," + kSampleLeadJson + "]}");
}

TEST(RecordsGolden, WorkingContactWithDates) {
  TContatoLeadVW contato;
  contato.empresa = 1;
  contato.revenda = 2;
  contato.codigoContato = 300;
  contato.codigoCliente = 400;
  contato.nome = "José";
  contato.DDD = 11;
  contato.telefone = 987654321;
  contato.cpfcnpj = "12345678901";
  contato.modelo = "Polo";
  contato.email = "j@x.com";
  contato.leadID = 555;
  contato.PrecoPretendido = 99990.5;
  contato.formaContato = 3;
  contato.tipoContato = 4;
  contato.subTipoContato = 5;
  contato.departamento = 6;
  contato.usuarioCorreio = 7;
  contato.origemTrafego = 8;
  contato.dataIntencao = EncodeDateTime({2024, 3, 5, 14, 7, 9, 123});
  contato.vendedorInclusao = 9;
  contato.status = 1;
  contato.origem = "Site";
  contato.mensagem = "Quero";
  contato.dataIntencaoAgendamento = EncodeDate(2024, 3, 6);
  contato.showroom = "S";
  contato.preferenciaContato = "Email";
  EXPECT_EQ(contato.AsJSON(),
            R"({"empresa":1,"revenda":2,"codigoContato":300,"codigoCliente":400,"nome":"José",)"
            R"("DDD":11,"telefone":987654321,"cpfcnpj":"12345678901","modelo":"Polo",)"
            R"("email":"j@x.com","leadID":555,"PrecoPretendido":99990.5,"formaContato":3,)"
            R"("tipoContato":4,"subTipoContato":5,"departamento":6,"usuarioCorreio":7,)"
            R"("origemTrafego":8,"dataIntencao":"2024-03-05T14:07:09.123","vendedorInclusao":9,)"
            R"("status":1,"origem":"Site","mensagem":"Quero",)"
            R"("dataIntencaoAgendamento":"2024-03-06T00:00:00.000","showroom":"S",)"
            R"("preferenciaContato":"Email"})");
  EXPECT_EQ(TContatoLeadVW::FromJSON(contato.AsJSON()), contato);
}

}  // namespace
}  // namespace vornleads
