#include "vornleads/data/cliente_prospect.h"

#include <string>

#include "data/customer_code.h"
#include "vornleads/data/geral.h"
#include "vornleads/data/insert_builder.h"
#include "vornleads/error.h"

namespace vornleads {

namespace Dados {
thread_local std::string MensagemErroException;
}  // namespace Dados

namespace {

void texto(TInsert& insert, const std::string& campo, const std::string& valor) {
  if (valor.empty()) {
    insert.AddCampoNulo(campo);
  } else {
    insert.AddCampo(campo, valor);
  }
}

void positivo(TInsert& insert, const std::string& campo, int32_t valor) {
  if (valor < 1) {
    insert.AddCampoNulo(campo);
  } else {
    insert.AddCampo(campo, valor);
  }
}

}  // namespace

int32_t GravaClienteProspect(SqlConnection& connection, TDateTime data, int32_t empresa,
                             int32_t revenda, int32_t vendedor, int32_t ddd, int32_t telefone,
                             int32_t dddCelular, int32_t celular, int32_t dddComercial,
                             int32_t telefoneComercial, const std::string& nome,
                             const std::string& endereco, const std::string& numeroEndereco,
                             const std::string& complemento, const std::string& bairro,
                             const std::string& cidade, const std::string& uf,
                             const std::string& cep, const std::string& email, int32_t categoria,
                             ReservaNumeros* reserva) {
  Dados::MensagemErroException.clear();
  try {
    const int32_t cliente =
        reserva ? nextCustomerCode(connection, *reserva) : nextCustomerCode(connection);

    TInsert insert("FAT_CLIENTE", BuscaBanco(connection));
    insert.AddCampo("CLIENTE", cliente);
    texto(insert, "NOME", nome);
    insert.AddCampo("PROSPECT", "S");
    if (categoria < 0) {
      insert.AddCampoNulo("CATEGORIA");
    } else {
      insert.AddCampo("CATEGORIA", categoria);
    }
    insert.AddCampoDataHora("DTA_CADASTRO", data);
    insert.AddCampo("EMPRESA_CADASTRO", empresa);
    insert.AddCampo("REVENDA_CADASTRO", revenda);
    insert.AddCampo("VENDEDOR", vendedor);
    texto(insert, "ENDERECO", endereco);
    texto(insert, "NUMERO_ENDERECO", numeroEndereco);
    texto(insert, "COMPLEMENTO", complemento);
    texto(insert, "BAIRRO", bairro);
    texto(insert, "CIDADE", cidade);
    texto(insert, "UF", uf);
    texto(insert, "CEP", cep);
    texto(insert, "E_MAIL_CASA", email);
    positivo(insert, "DDD_TELEFONE", ddd);
    positivo(insert, "TELEFONE", telefone);
    positivo(insert, "DDD_CELULAR", dddCelular);
    positivo(insert, "CELULAR", celular);
    positivo(insert, "DDD_COMERCIAL", dddComercial);
    positivo(insert, "TELEFONE_COMERCIAL", telefoneComercial);
    connection.execute(MontaSQLInsert(insert));
    return cliente;
  } catch (const DatabaseError& error) {
    Dados::MensagemErroException = error.databaseMessage();
  } catch (const VornError& error) {
    Dados::MensagemErroException = error.what();
  }
  return 0;
}

}  // namespace vornleads
