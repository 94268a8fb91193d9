// Every record, filled with values unlike its defaults, comes back unchanged through its JSON.
#include <gtest/gtest.h>

#include <string>

#include "service/records_compare.h"
#include "vornleads/text/datetime.h"

namespace vornleads {
namespace {

// Text that exercises JSON escaping: quotes, backslashes, accents, control characters.
std::string tricky(const std::string& tag) {
  return tag + " Jo\xC3\xA3o \"Z\xC3\xA9\" C:\\dir\\ /\t\r\n\x01\x1f\x7f \xE2\x82\xAC fim";
}

TStatusClass filledStatus(double codigo) { return {codigo, tricky("descricao"), "1.0"}; }

template <class Item>
void fillLeadItem(Item& item, int n) {
  item.Acabamento = tricky("acabamento") + std::to_string(n);
  item.Cor = tricky("cor");
  item.CpfCnpj = "123.456.789-0" + std::to_string(n);
  item.DataIntencao = "05/03/2024 14:07:09";
  item.Ddd = n % 2 ? 11 : 21.5;
  item.Email = "cliente" + std::to_string(n) + "@example.com";
  item.Modelo = tricky("modelo");
  item.Nome = tricky("nome");
  item.Opcionais = tricky("opcionais");
  item.Status = -1;
  item.Telefone = 987654321.0 + n;
  item.Preco = "R$ 150.000,00";
  item.Origem = tricky("origem");
  item.Mensagem = tricky("mensagem");
  item.DataIntencaoAgendamento = "06/03/2024 09:00:00";
  item.Showroom = "S";
  item.PreferenciaContato = "WhatsApp";
}

TItemBuscaLeadsClass buscaLeadsItem(int n) {
  TItemBuscaLeadsClass item;
  fillLeadItem(item, n);
  item.DealerNumber = "0" + std::to_string(4711 + n);
  item.IdLead = "A-" + std::to_string(n);
  return item;
}

TItemBuscaNovosLeadsClass novosLeadsItem(int n) {
  TItemBuscaNovosLeadsClass item;
  fillLeadItem(item, n);
  item.DealerNumber = "4711";
  item.IdLead = 90000000000.0 + n;  // beyond 32 bits, still whole
  return item;
}

TItemBuscaHistoricoDealerClass historicoItem(int n) {
  TItemBuscaHistoricoDealerClass item;
  fillLeadItem(item, n);
  item.IdLead = 0.1 + n;  // a fraction must come back to the same double
  return item;
}

template <class Record>
void expectRoundTrip(const Record& original) {
  const std::string json = original.AsJSON();
  EXPECT_EQ(Record::FromJSON(json), original) << json;
  Record assigned;
  assigned.AssignFromJSON(json);
  EXPECT_EQ(assigned, original) << json;
}

TEST(RecordsRoundTrip, StatusAndRequests) {
  expectRoundTrip(filledStatus(297));
  expectRoundTrip(filledStatus(-0.25));
  expectRoundTrip(TEnviaBuscaLeadsClass{tricky("dns")});
  expectRoundTrip(TEnviaBuscaLeadsDataClass{"4711;4712", tricky("data")});
  expectRoundTrip(TEnviaBuscaLeadsStatusClass{"4711", tricky("status"), tricky("nome")});
  expectRoundTrip(TCarregaUltimaCargaInicial{"4711", tricky("tabela")});
  expectRoundTrip(TEnviaAtualizaLeadClass{tricky("cpf"), "05/03/2024 14:07:09",
                                          "06/03/2024 10:00:00", 123456789012.0, -1});
  expectRoundTrip(TEnviaAtualizaLeadClass{"", "", "", 1e300, 5e-324});
  expectRoundTrip(TEnviaBuscaNovosLeadsClass{EncodeDateTime({2024, 3, 5, 14, 7, 9, 123})});
  expectRoundTrip(TEnviaBuscaNovosLeadsClass{EncodeDateTime({1850, 1, 2, 23, 59, 59, 999})});
  expectRoundTrip(TEnviaBuscaHistoricoDealerClass{tricky("dealer")});
  expectRoundTrip(TAutenticaClass{"password", tricky("user"), tricky("secret")});
}

// The replies carry every kind of lead item.
TEST(RecordsRoundTrip, Replies) {
  TRetornoBuscaLeadsClass leads;
  leads.Status = filledStatus(0);
  leads.Leads = {buscaLeadsItem(1), buscaLeadsItem(2), buscaLeadsItem(3)};
  expectRoundTrip(leads);

  TRetornoBuscaNovosLeadsClass novos;
  novos.Status = filledStatus(1);
  novos.Novos = {novosLeadsItem(1), novosLeadsItem(2)};
  expectRoundTrip(novos);

  TRetornoBuscaHistoricoDealerClass historico;
  historico.Status = filledStatus(2);
  historico.Historico = {historicoItem(7)};
  expectRoundTrip(historico);

  TRetornoAtualizaLeadClass atualiza;
  atualiza.Status = filledStatus(297);
  atualiza.Retorno = TItemAtualizaLeadClass{tricky("mensagem"), tricky("retorno")};
  expectRoundTrip(atualiza);

  // Absent members stay absent.
  TRetornoAtualizaLeadClass empty;
  empty.Status.reset();
  empty.Retorno.reset();
  expectRoundTrip(empty);
  expectRoundTrip(TRetornoBuscaLeadsClass{});
}

// The working contact comes back from its golden text (records_golden_test.cpp).
TEST(RecordsRoundTrip, WorkingParameters) {
  TParametroPreparaAtualizaLeadVW parametro;
  parametro.empresa = 1;
  parametro.revenda = 2;
  parametro.contato = 3;
  parametro.usuarioAtualizacao = 4;
  parametro.codigoAtualizacao = 5;
  parametro.dataReagendamento = "10/03/2024 10:00:00";
  parametro.reenvio = true;
  parametro.sequenciaReenvio = 7;
  parametro.dataAtualizacaoReenvio = tricky("data");
  parametro.idLead = 123456;
  expectRoundTrip(parametro);
}

}  // namespace
}  // namespace vornleads
