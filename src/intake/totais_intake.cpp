#include "vornleads/intake/totais_intake.h"

namespace vornleads {

void ContagemLeads::iniciaCiclo() {
  ++ciclos_;
  ciclo_ = TotaisIntake{};
  ciclo_.ciclos = 1;
  ciclo_.revendas = revendas_;
}

void ContagemLeads::revendas(int32_t quantas) { revendas_ = ciclo_.revendas = quantas; }

void ContagemLeads::lido(const std::string& lead) {
  ++ciclo_.leadsLidos;
  leads_[lead];
}

void ContagemLeads::incluido(const std::string& lead, DesfechoLead desfecho) {
  Lead& estado = leads_[lead];
  estado.falhouPorUltimo = false;
  switch (desfecho) {
    case DesfechoLead::Criado:
      ++ciclo_.contatosCriados;
      estado.criado = true;
      break;
    case DesfechoLead::Vinculado:
      ++ciclo_.vinculados;
      estado.vinculado = true;
      break;
    case DesfechoLead::Revisado:
      ++ciclo_.revisados;
      estado.revisado = true;
      break;
    case DesfechoLead::Encerrado:
      ++ciclo_.encerrados;
      estado.encerrado = true;
      break;
    case DesfechoLead::Nenhum:
      break;
  }
}

void ContagemLeads::falhou(const std::string& lead) {
  ++ciclo_.falhas;
  ++ciclo_.tentativasFalhas;
  ++tentativasFalhas_;
  leads_[lead].falhouPorUltimo = true;
}

void ContagemLeads::confirmado(const std::string& lead) {
  ++ciclo_.confirmados;
  leads_[lead].confirmado = true;
}

TotaisIntake ContagemLeads::total() const {
  TotaisIntake t;
  t.ciclos = ciclos_;
  t.revendas = revendas_;
  t.tentativasFalhas = tentativasFalhas_;
  for (const auto& [id, lead] : leads_) {
    ++t.leadsLidos;
    t.contatosCriados += lead.criado;
    t.vinculados += lead.vinculado;
    t.revisados += lead.revisado;
    t.encerrados += lead.encerrado;
    t.confirmados += lead.confirmado;
    t.falhas += lead.falhouPorUltimo;
  }
  return t;
}

}  // namespace vornleads
