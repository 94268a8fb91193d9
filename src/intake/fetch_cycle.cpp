// The intake cycle: dealer list, the fetch through the bridge, one transaction per lead, the
// receipt pass and the repetition of failed cycles.
#include <exception>
#include <string>
#include <vector>

#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/package/leads_library.h"
#include "vornleads/service/records_requests.h"
#include "vornleads/text/codepage.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

// The comma text of a string list: entries joined by ","; an entry that is empty or holds a
// blank, a control character, a comma or a double quote is written between double quotes.
std::string textoVirgulas(const std::vector<std::string>& lista) {
  std::string texto;
  for (size_t i = 0; i < lista.size(); ++i) {
    if (i > 0) texto += ',';
    const std::string& item = lista[i];
    bool aspas = item.empty();
    for (unsigned char c : item) aspas = aspas || c <= ' ' || c == ',' || c == '"';
    if (!aspas) {
      texto += item;
      continue;
    }
    texto += '"';
    for (char c : item) {
      texto += c;
      if (c == '"') texto += '"';
    }
    texto += '"';
  }
  return texto;
}

const char kSqlRevendas[] =
    "SELECT VWB.NUMERO_DN   FROM VWB_PARAMETRO VWB,        CAC_PARAMETRO CAC  WHERE "
    "VWB.NUMERO_DN <> '0'   AND CAC.EMPRESA = VWB.EMPRESA    AND CAC.REVENDA = VWB.REVENDA "
    "   AND CAC.UTILIZA_INTEGRACAO_LEADVW = 'S' ";

// The company is always 1 and EMPRESA is named twice, never REVENDA: kept as the dealers'
// databases have always been queried.
const char kSqlNomeFantasia[] =
    "SELECT NOME_FANTASIA   FROM GER_REVENDA  WHERE EMPRESA = 1    AND EMPRESA = 1 ";

}  // namespace

void TLeadsVWMetodosClass::buscarLeads() {
  // However the call ends, the dealer list is released: a worker serves one top-level call.
  struct LiberaLista {
    std::optional<std::vector<std::string>>& lista;
    ~LiberaLista() { lista.reset(); }
  } libera{listaDN_};

  // The repetitions of a failed cycle run here one after another; each starts with the dealer
  // list still in place, so it is read only once.
  bool repetir = true;
  while (repetir) repetir = cicloBusca();
}

bool TLeadsVWMetodosClass::cicloBusca() {
  contagem_.iniciaCiclo();
  inicializaCOM();
  sPbPasso_ = "01";
  if (!listaDN_) {
    throw VornError(
        "A lista de DNs deste TLeadsVWMetodosClass já foi liberada: use um novo objeto para "
        "cada ciclo");
  }
  if (listaDN_->empty() && !populaListaDN()) return false;
  contagem_.revendas(static_cast<int32_t>(listaDN_->size()));

  sPbPasso_ = "02";
  TEnviaBuscaLeadsStatusClass envio;
  sPbPasso_ = "03";
  envio.DNs = textoVirgulas(*listaDN_);
  envio.Status = "0";
  envio.Nome = buscaNomeFantasia();
  sPbPasso_ = "04";
  const std::string requisicao = envio.AsJSON();

  sPbPasso_ = "05";
  // No check for a missing bridge here (the receipt makes one): calling an empty bridge raises.
  const std::string resposta =
      fromAnsi(IntegraLeadsVW(kServicoBuscaLeadsStatus, toAnsi(requisicao)));

  sPbPasso_ = "06";
  gravaLog(requisicao, resposta);

  sPbPasso_ = "07";
  // Only the envelope and the Status are read here: each lead item is read inside its own
  // lead's trap, so that one item that does not map fails that lead alone.
  const LeadItemsReply retorno = LeadItemsReply::FromJSON(resposta);

  sPbPasso_ = "08";
  if (!retorno.Status) {
    throw VornError("Resposta do serviço de leads sem Status: " + excerpt(resposta));
  }
  if (retorno.Status->Codigo > 0) throw VornError(retorno.Status->Descricao);

  const bool repetir = verificaLeads(retorno);
  sPbPasso_ = "09";
  return repetir;
}

bool TLeadsVWMetodosClass::populaListaDN() {
  sPbPasso_ = "01.01";
  const std::string sql = kSqlRevendas;
  sPbPasso_ = "01.02";
  auto revendas = conexao_.RetornaDataset(sql, "", "");
  sPbPasso_ = "01.03";
  if (revendas->IsEmpty()) return false;
  sPbPasso_ = "01.04";
  for (; !revendas->Eof(); revendas->Next()) {
    listaDN_->push_back(revendas->FieldByName("NUMERO_DN").asString());
  }
  sPbPasso_ = "01.05";
  revendas.reset();
  sPbPasso_ = "01.06";
  return true;
}

std::string TLeadsVWMetodosClass::buscaNomeFantasia() {
  auto revenda = conexao_.RetornaDataset(kSqlNomeFantasia, "", "");
  if (revenda->IsEmpty()) throw VornError("Erro ao buscar nome fantasia da revenda 1.1");
  return revenda->FieldByName("NOME_FANTASIA").asString();
}

bool TLeadsVWMetodosClass::verificaLeads(const TRetornoBuscaLeadsClass& Retorno) {
  return verificaLeads(LeadItemsReply::FromRecord(Retorno));
}

bool TLeadsVWMetodosClass::verificaLeads(const LeadItemsReply& Retorno) {
  leadsProcessados_ = std::vector<std::string>{};
  const int total = static_cast<int>(Retorno.Leads.size());
  int n = 0;
  control_->phase("lead");
  for (const auto& item : Retorno.Leads) {
    if (control_->stopRequested()) {
      interrompido_ = true;
      break;
    }
    control_->progress(++n, total, item.idLead);
    trataLead(item, n);
  }

  try {
    validaLeadsProcessados();
  } catch (const std::exception& erro) {
    erroInclusao_ = true;
    gravaLog("", erro.what());
  }

  if (aoFimDoCiclo) aoFimDoCiclo(totaisDoCiclo());

  if (!erroInclusao_ || interrompido_) return false;
  ++qtdErros_;
  pause_->sleep(intervaloRepeticao_);
  if (control_->stopRequested()) {
    interrompido_ = true;
    return false;
  }
  if (qtdErros_ > 5) {
    throw VornError("Ocorreram repetidos erros ao integrar os leads, o serviço será reiniciado");
  }
  return true;
}

}  // namespace vornleads
