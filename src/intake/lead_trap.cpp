// The per-lead trap: one reply item is mapped, filled and written in a transaction of its own;
// whatever fails rolls that lead back, is logged naming the lead, and the next lead goes on.
#include <exception>
#include <string>

#include "intake/conversoes.h"
#include "intake/sql_texto.h"
#include "vornleads/error.h"
#include "vornleads/intake/leads_vw_metodos.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

// A failed lead's message is bounded as a whole too: the texts the lead carries are already
// quoted as excerpts, this only guards against a message made of many of them.
constexpr size_t kMensagemMaxima = 4 * kExcerptBytes;

const std::string kCabecalhoLead = "Não foi possível incluir o lead ";

// The key a lead is counted under: its IdLead text, or its position when it has none.
std::string chaveLead(const LeadItemText& item, int posicao) {
  return item.idLead.empty() ? "posição " + std::to_string(posicao) : item.idLead;
}

}  // namespace

std::string TLeadsVWMetodosClass::mensagemFalha(const std::string& erro, const LeadItemText& item,
                                                int posicao) const {
  // The routing and customer steps head their messages with the lead already.
  if (erro.compare(0, kCabecalhoLead.size(), kCabecalhoLead) == 0) {
    return excerpt(erro, kMensagemMaxima);
  }
  std::string cabecalho;
  try {
    cabecalho = intake::falhaLead(intake::TextoParaInteiro(item.idLead));
  } catch (const ConversionError&) {
    // No usable number: the lead is named by its place in the reply, and by what it sent.
    cabecalho = kCabecalhoLead + "da posição " + std::to_string(posicao) + " da resposta" +
                (item.idLead.empty() ? "" : " (IdLead \"" + excerpt(item.idLead, 64) + "\")") +
                "\r\n";
  }
  return excerpt(cabecalho + erro, kMensagemMaxima);
}

void TLeadsVWMetodosClass::trataLead(const LeadItemText& item, int posicao) {
  const std::string chave = chaveLead(item, posicao);
  contagem_.lido(chave);
  TContatoLeadVW lead;
  desfecho_ = Desfecho::Nenhum;
  conexao_.iniciaTransacao();
  try {
    leadsProcessados_->push_back(item.idLead);
    // The item is read here, not with the reply: a member of the wrong type fails this lead.
    preencheLead(TItemBuscaLeadsClass::FromJSON(item.json), lead);
    verificaContato(lead);
    conexao_.comitaTransacao();
    contagem_.incluido(chave, desfecho_);
  } catch (const std::exception& erro) {
    std::string mensagem = mensagemFalha(boundedMessage(erro), item, posicao);
    // A failed commit may already have ended the transaction; a failed rollback must not
    // cost the other leads, so its message joins the lead's.
    try {
      if (conexao_.retornaSQLConnection().inTransaction()) conexao_.rollbackTransacao();
    } catch (const std::exception& falhaRollback) {
      mensagem += "\r\n" + boundedMessage(falhaRollback);
    }
    erroInclusao_ = true;
    contagem_.falhou(chave);
    gravaLog("", mensagem);
    if (aoFalharLead) aoFalharLead(FalhaLead{chave, lead.codigoContato, mensagem});
  }
}

}  // namespace vornleads
