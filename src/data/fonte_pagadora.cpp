#include "vornleads/data/fonte_pagadora.h"

#include <string>

namespace vornleads {

namespace {

std::string colunaFonte(const std::string& tipoServicoOs) {
  if (tipoServicoOs == "E") return "FONTE_PAGADORA_EXT";
  if (tipoServicoOs == "I") return "FONTE_PAGADORA_INT";
  if (tipoServicoOs == "G") return "FONTE_PAGADORA_GAR";
  if (tipoServicoOs == "R") return "FONTE_PAGADORA_REV";
  return "";
}

}  // namespace

bool Retorna_AutoService_Ativo(SqlConnection& connection, int32_t Empresa, int32_t Revenda) {
  const SqlRowSet rows = connection.query(
      " select API_AUTOSERVICE_ATIVA       from VWB_PARAMETRO            where EMPRESA = " +
      std::to_string(Empresa) + "   and REVENDA = " + std::to_string(Revenda));
  return !rows.empty() && !rows.columns.empty() && rows.rows.front().front().asString() == "S";
}

std::string GravaFontePagadoraVW(SqlConnection& connection, int32_t empresa, int32_t revenda,
                                 int32_t contato) {
  const std::string sEmpresa = std::to_string(empresa);
  const std::string sRevenda = std::to_string(revenda);
  const std::string sContato = std::to_string(contato);
  const SqlRowSet rows = connection.query(
      "select SOL.TIPO_SERVICO_OS,"
      "       coalesce(OTS.FONTE_PAGADORA_AUTOSERVICE,0) FONTE_TIPO_SERVICO,"
      "       FCC1.FONTE_PAGADORA_AUTOSERVICE FONTE_SEGURADORA_ATENDIMENTO,"
      "       coalesce(FCC.INDICA_SEGURADORA,'N') SEGURADORA_CATEGORIA,"
      "       coalesce(FCC.FROTISTA,'N') FROTISTA,"
      "       coalesce(FCC.FONTE_PAGADORA_AUTOSERVICE,0) FONTE_CATEGORIA"
      "  from OFI_SOLICITACAO SOL"
      " inner join OFI_TIPO_SERVICO OTS on OTS.EMPRESA = SOL.EMPRESA"
      "                                and OTS.REVENDA = SOL.REVENDA"
      "                                and OTS.TIPO_SERVICO = SOL.TIPO_SERVICO"
      " inner join CAC_CONTATO CCO on CCO.EMPRESA = SOL.EMPRESA"
      "                           and CCO.REVENDA = SOL.REVENDA"
      "                           and CCO.CONTATO = SOL.CONTATO"
      " inner join FAT_CLIENTE FCL on FCL.CLIENTE = CCO.CLIENTE"
      " inner join FAT_CATEGORIA_CLIENTE FCC on FCL.CATEGORIA = FCC.CATEGORIA"
      " inner join OFI_ATENDIMENTO OAT on OAT.EMPRESA = SOL.EMPRESA"
      "                               and OAT.REVENDA = SOL.REVENDA"
      "                               and OAT.CONTATO = SOL.CONTATO"
      "  left join FAT_CLIENTE FCL1 on FCL1.CLIENTE = OAT.SEGURADORA"
      "  left join FAT_CATEGORIA_CLIENTE FCC1 on FCC1.CATEGORIA = FCL1.CATEGORIA"
      " where SOL.EMPRESA = " +
      sEmpresa + "   and SOL.REVENDA = " + sRevenda + "   and SOL.CONTATO = " + sContato);

  std::string ultimaFonte = "0";
  for (size_t i = 0; i < rows.rows.size(); ++i) {
    const int64_t fonteCategoria = rows.value(i, "FONTE_CATEGORIA").asInteger();
    const int64_t fonteSeguradora = rows.value(i, "FONTE_SEGURADORA_ATENDIMENTO").asInteger();
    const int64_t fonteTipoServico = rows.value(i, "FONTE_TIPO_SERVICO").asInteger();
    const bool categoriaEspecial = rows.value(i, "SEGURADORA_CATEGORIA").asString() == "S" ||
                                   rows.value(i, "FROTISTA").asString() == "S";
    int64_t fonte = fonteCategoria;
    if (!(categoriaEspecial && fonteCategoria > 0)) {
      if (fonteSeguradora >= 1) {
        fonte = fonteSeguradora;
      } else if (fonteTipoServico >= 1) {
        fonte = fonteTipoServico;
      }
    }
    ultimaFonte = std::to_string(fonte);
    connection.execute("update OFI_ORDEM_SERVICO    set " +
                       colunaFonte(rows.value(i, "TIPO_SERVICO_OS").asString()) + " = " +
                       ultimaFonte + " where EMPRESA = " + sEmpresa +
                       "   and REVENDA = " + sRevenda + "   and CONTATO = " + sContato);
  }
  return ultimaFonte;
}

}  // namespace vornleads
