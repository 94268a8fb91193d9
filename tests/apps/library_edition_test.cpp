// The library edition VornLeadsVW.dll as a host uses it: loaded with dlopen through
// LeadsLibrary, every service number called against the sandbox.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>
#include <string>

#include "support/paths.h"
#include "support/sandbox_process.h"
#include "vornleads/error.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/service/leads_library.h"

namespace vornleads {
namespace {

using Json = test::SandboxProcess::Json;

std::filesystem::path libraryFile() { return test::binDir() / "VornLeadsVW.dll"; }

bool libraryLoaded() {
  void* handle = dlopen(libraryFile().c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

std::string leadsReply(const std::string& leads) {
  return R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Leads":[)" + leads + "]}";
}

constexpr const char* kLead77 =
    R"({"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"DealerNumber":"1234",)"
    R"("Email":"","IdLead":"77","Modelo":"","Nome":"Davi","Opcionais":"","Status":0,)"
    R"("Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"",)"
    R"("Showroom":"","PreferenciaContato":""})";

// One sandbox for the suite: the library reads its endpoint (VORNLEADS_ENDPOINT) once per load.
class LibraryEditionTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sandbox_ = std::make_unique<test::SandboxProcess>();
    setenv("VORNLEADS_ENDPOINT", sandbox_->url().c_str(), 1);
  }
  static void TearDownTestSuite() {
    unsetenv("VORNLEADS_ENDPOINT");
    sandbox_.reset();
  }
  void SetUp() override {
    sandbox_->reset();
    sandbox_->addLeads(Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"Davi"}])"));
  }

  static std::unique_ptr<test::SandboxProcess> sandbox_;
};

std::unique_ptr<test::SandboxProcess> LibraryEditionTest::sandbox_;

TEST_F(LibraryEditionTest, EveryServiceNumberReachesItsOperation) {
  LeadsLibrary library(libraryFile());
  const TIntegraLeadsVW integra = library.bind();
  ASSERT_TRUE(integra);

  EXPECT_EQ(integra(1, R"({"DNs":"1234"})"), leadsReply(kLead77));
  EXPECT_EQ(integra(3, R"({"DNs":"1234","Data":"01/01/2000"})"), leadsReply(kLead77));
  EXPECT_EQ(integra(4, R"({"DNs":"1234","Status":"0","Nome":"X"})"), leadsReply(kLead77));
  EXPECT_EQ(integra(5, R"({"DNs":"1234","Tabela":"LEADS"})"), leadsReply(kLead77));
  EXPECT_EQ(
      integra(2,
              R"({"Cpf":"1","DataAtualizacao":"","DataReagendamento":"","IdLead":77,"Status":3})"),
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Retorno":{"Mensagem":"Status do lead 77 atualizado para 3","Retorno":"OK"}})");
  EXPECT_EQ(sandbox_->updates().size(), 1u);
  EXPECT_EQ(
      integra(6, R"({"DealerNumber":"1234"})"),
      R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Historico":[{"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"Email":"","IdLead":77,"Modelo":"","Nome":"Davi","Opcionais":"","Status":3,"Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"","Showroom":"","PreferenciaContato":""}]})");
  const Json novos = Json::parse(integra(7, R"({"DataHora":0})"));
  ASSERT_EQ(novos["Novos"].size(), 1u) << novos.dump();
  EXPECT_EQ(novos["Novos"][0]["IdLead"], Json(77));
  EXPECT_EQ(novos["Status"]["Codigo"], Json(0));
}

TEST_F(LibraryEditionTest, FailuresAndUnknownNumbersAnswerThe297Envelope) {
  LeadsLibrary library(libraryFile());
  const TIntegraLeadsVW integra = library.bind();
  for (int32_t codigo : {0, 8, -1}) {
    EXPECT_EQ(integra(codigo, "{}"),
              R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":"Serviço )" +
                  std::to_string(codigo) +
                  R"x( desconhecido em IntegraLeadsVW (os serviços vão de 1 a 7)"}})x");
  }
  sandbox_->fault(Json::parse(
      R"([{"operation":"BuscaNovosLeads","mode":"soapfault","descricao":"Sem \"acesso\""},
                                  {"operation":"BuscaHistLeads","mode":"http500"}])"));
  EXPECT_EQ(integra(7, "{}"),
            R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":"Sem \"acesso\""}})");
  EXPECT_EQ(
      integra(6, "{}"),
      R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":"Falha ao chamar a operação BuscaHistLeads em )" +
          sandbox_->url() + R"(: o servidor respondeu HTTP 500"}})");
}

TEST_F(LibraryEditionTest, CEntryTakesANullRequestAsEmpty) {
  LeadsLibrary keepLoaded(libraryFile());
  void* handle = dlopen(libraryFile().c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(handle, nullptr);
  auto integra = reinterpret_cast<char* (*)(int32_t, const char*)>(dlsym(handle, "IntegraLeadsVW"));
  auto libera = reinterpret_cast<void (*)(char*)>(dlsym(handle, "IntegraLeadsVW_Libera"));
  ASSERT_TRUE(integra && libera);
  char* resposta = integra(1, nullptr);
  ASSERT_NE(resposta, nullptr);
  EXPECT_STREQ(
      resposta,
      R"({"Status":{"Codigo":200,"Descricao":"Parâmetros inválidos: JSON malformado na posição 1","Versao":"1.0"},"Leads":[]})");
  libera(resposta);
  libera(nullptr);
  // Nothing but the two entries is visible from outside: the routines linked in stay inside.
  EXPECT_EQ(
      dlsym(handle,
            "_ZN9vornleads10DLLMsgJSONERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi"),
      nullptr);
  dlclose(handle);
}

TEST_F(LibraryEditionTest, UnloadsWithItsLastHolderAndLoadsAgain) {
  ASSERT_FALSE(libraryLoaded());
  TIntegraLeadsVW integra;
  {
    LeadsLibrary library(libraryFile());
    EXPECT_TRUE(libraryLoaded());
    integra = library.bind();
  }
  // The bound callable keeps the library it calls into.
  EXPECT_TRUE(libraryLoaded());
  EXPECT_EQ(integra(1, R"({"DNs":"1234"})"), leadsReply(kLead77));
  integra = nullptr;
  EXPECT_FALSE(libraryLoaded());

  LeadsLibrary again(libraryFile());
  EXPECT_EQ(again.bind()(1, R"({"DNs":"1234"})"), leadsReply(kLead77));
}

TEST(LeadsLibrary, FindsTheLibraryInTheHostDirectory) {
  test::TempDir empty("library-home");
  setHostDirectory(empty.path());
  EXPECT_FALSE(bibliotecaPresente());
  try {
    LeadsLibrary missing;
    ADD_FAILURE() << "a missing file must not load";
  } catch (const VornError& error) {
    const auto file = (empty / "VornLeadsVW.dll").string();
    EXPECT_EQ(std::string(error.what()),
              "Não foi possível carregar a biblioteca \"" + file + "\": " + file +
                  ": cannot open shared object file: No such file or directory");
  }

  setHostDirectory(test::binDir());
  EXPECT_TRUE(bibliotecaPresente());
  {
    LeadsLibrary library;
    EXPECT_EQ(library.file(), test::binDir() / "VornLeadsVW.dll");
  }
  setHostDirectory({});
  EXPECT_STREQ(kMensagemBibliotecaAusente, "A biblioteca \"VornLeadsVW.dll\" não foi encontrada.");
  inicializaCOM();  // nothing to initialise on this platform; must simply return
}

TEST(LeadsLibrary, RefusesFilesThatAreNotTheLibraryEdition) {
  test::TempDir dir("library-bad");
  test::writeFile(dir / "VornLeadsVW.dll", "not a library");
  try {
    LeadsLibrary text(dir / "VornLeadsVW.dll");
    ADD_FAILURE() << "a text file must not load";
  } catch (const VornError& error) {
    const auto file = (dir / "VornLeadsVW.dll").string();
    EXPECT_EQ(
        std::string(error.what())
            .rfind("Não foi possível carregar a biblioteca \"" + file + "\": " + file + ": ", 0),
        0u)
        << error.what();
  }

  // A real shared library without the entries.
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&dlopen), &info), 0);
  try {
    LeadsLibrary other(info.dli_fname);
    ADD_FAILURE() << "a library without IntegraLeadsVW must not bind";
  } catch (const VornError& error) {
    EXPECT_EQ(std::string(error.what())
                  .rfind("A biblioteca \"" + std::string(info.dli_fname) +
                             "\" não exporta IntegraLeadsVW: ",
                         0),
              0u)
        << error.what();
    EXPECT_NE(std::string(error.what()).find("undefined symbol: IntegraLeadsVW"), std::string::npos)
        << error.what();
  }
}

}  // namespace
}  // namespace vornleads
