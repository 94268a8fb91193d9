// The journal of status updates, CAC_ATUALIZACOES_LEADVW: one row per update and lead,
// written as in progress before the call to VW and again with the outcome.
#include <cmath>
#include <string>

#include "vornleads/feedback/atualiza_leads_vw.h"
#include "vornleads/text/datetime.h"
#include "vornleads/text/text_cut.h"

namespace vornleads {
namespace {

constexpr int32_t kCodigoNaoEnviado = 297;
constexpr size_t kTamanhoDescricaoErro = 500;
constexpr int kStatusReagendamento = 9;

}  // namespace

void TAtualizaLeadsVW::gravaAtualizacao(bool emProcesso) {
  TParametroPreparaAtualizaLeadVW& p = *parametros_;
  const TEnviaAtualizaLeadClass& envio = *envioLead_;

  // SEQUENCIA -1 selects nothing: an empty dataset of the table to insert into.
  const std::string sequencia =
      p.sequenciaReenvio > 0 ? std::to_string(p.sequenciaReenvio) : std::string("-1");
  // clang-format off
  const auto linha = conexao_.RetornaDataset("SELECT * "
                                             "  FROM CAC_ATUALIZACOES_LEADVW "
                                             " WHERE ID_LEAD_VW = " + FloatToStr(envio.IdLead) +
                                                 "   AND SEQUENCIA = " + sequencia,
                                             "CAC_ATUALIZACOES_LEADVW");
  // clang-format on

  if (!p.reenvio && emProcesso) {
    linha->Append();
    linha->SetField("ID_LEAD_VW", SqlValue::integer(std::llround(envio.IdLead)));
    p.sequenciaReenvio = retornaProximaSequenciaContato();
    linha->SetField("SEQUENCIA", SqlValue::integer(p.sequenciaReenvio));
    linha->SetField("STATUS_LEAD", SqlValue::integer(std::llround(envio.Status)));
    if (p.codigoAtualizacao == kStatusReagendamento) {
      linha->SetField("DTA_REAGENDAMENTO",
                      SqlValue::dateTime(StrToDateTime(envio.DataReagendamento)));
    }
    linha->SetField("DTA_ATUALIZACAO", SqlValue::dateTime(StrToDateTime(envio.DataAtualizacao)));
  } else {
    linha->Edit();
  }

  const bool rejeitado =
      retornoAtualizacao_ && retornoAtualizacao_->Status && retornoAtualizacao_->Status->Codigo > 0;
  if (!realizaEnvio_ || rejeitado) {
    linha->SetField("ENVIOU", SqlValue::text("N"));
    if (realizaEnvio_) {
      const TStatusClass& status = *retornoAtualizacao_->Status;
      linha->SetField("CODIGO_ERRO",
                      SqlValue::integer(static_cast<int64_t>(std::trunc(status.Codigo))));
      linha->SetField("DESCRICAO_ERRO",
                      SqlValue::text(primeirosCaracteres(status.Descricao, kTamanhoDescricaoErro)));
    } else {
      linha->SetField("CODIGO_ERRO", SqlValue::integer(kCodigoNaoEnviado));
      linha->SetField("DESCRICAO_ERRO", SqlValue::text(mensagemErro_));
    }
  } else if (emProcesso) {
    linha->SetField("ENVIOU", SqlValue::text("N"));
    linha->SetField("CODIGO_ERRO", SqlValue::integer(kCodigoNaoEnviado));
    linha->SetField("DESCRICAO_ERRO", SqlValue::text("Atualização em processo de envio"));
  } else {
    // Accepted by VW: whatever was left unsent before this update is superseded by it.
    gravaEnviouSequenciaAnterior(linha->FieldByName("ID_LEAD_VW").asFloat(),
                                 static_cast<int32_t>(linha->FieldByName("SEQUENCIA").asInteger()));
    linha->SetField("CODIGO_ERRO", SqlValue());
    linha->SetField("ENVIOU", SqlValue::text("S"));
    linha->SetField("DESCRICAO_ERRO", SqlValue::text(""));
  }

  linha->SetField("USUARIO", SqlValue::integer(p.usuarioAtualizacao));
  linha->Post();
}

int32_t TAtualizaLeadsVW::retornaProximaSequenciaContato() {
  // MAX over no rows is null, which the wrapper reads as 0: the first row gets 1.
  // clang-format off
  return conexao_.executaSQLInteger("Select MAX(SEQUENCIA) "
                                    "  from CAC_ATUALIZACOES_LEADVW "
                                    " where ID_LEAD_VW = " + FloatToStr(envioLead_->IdLead)) +
         1;
  // clang-format on
}

void TAtualizaLeadsVW::gravaEnviouSequenciaAnterior(double idLead, int32_t sequencia) {
  if (!(idLead > 0) || sequencia < 1) return;
  // clang-format off
  conexao_.executaDML("update CAC_ATUALIZACOES_LEADVW set ENVIOU = 'S' "
                      " where ID_LEAD_VW = " + FloatToStr(idLead) +
                      "   and ENVIOU = 'N' "
                      "   and SEQUENCIA < " + std::to_string(sequencia));
  // clang-format on
}

}  // namespace vornleads
