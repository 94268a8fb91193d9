// The replies the client must read, in the forms SOAP stacks write them, hand-written and served
// by a canned peer: one table of reply forms and what the call makes of each.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/soap_test_server.h"
#include "vornleads/service/ivornleadsvw.h"
#include "vornleads/text/codepage.h"

namespace vornleads {
namespace {

const std::string kSoap = "http://schemas.xmlsoap.org/soap/envelope/";
const std::string kService = "urn:VornLeadsVWIntf-IVornLeadsVW";
const std::string kFailed = "! Falha ao chamar a operação BuscaLeads em URL: ";

// An envelope around the given Body content, with the usual namespace declarations.
std::string envelope(const std::string& body, const std::string& declaration = "") {
  return declaration + "<S:Envelope xmlns:S=\"" + kSoap +
         "\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
         "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\"><S:Body>" +
         body + "</S:Body></S:Envelope>";
}

std::string response(const std::string& result) {
  return "<NS1:BuscaLeadsResponse xmlns:NS1=\"" + kService + "\"><return xsi:type=\"xsd:string\">" +
         result + "</return></NS1:BuscaLeadsResponse>";
}

std::string fault(const std::string& inside) {
  return envelope("<S:Fault><faultcode>S:Server</faultcode>" + inside + "</S:Fault>");
}

// UTF-8 text as UTF-16 bytes, with or without a byte-order mark.
std::string utf16(const std::string& text, bool little, bool mark) {
  std::string bytes;
  for (char16_t unit : (mark ? u"\uFEFF" : u"") + utf8ToUtf16(text)) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += little ? std::string{low, high} : std::string{high, low};
  }
  return bytes;
}

struct ReplyForm {
  const char* form;
  int status;
  std::string contentType;
  std::string body;
  // "= result", "fault CODE: text", or "! message" with the endpoint written URL.
  std::string outcome;
};

std::vector<ReplyForm> replyForms() {
  const std::string joao = R"({"Nome":"João da Conceição"})";
  const std::string joaoLatin1 = "{\"Nome\":\"Jo\xE3o da Concei\xE7\xE3o\"}";
  const std::string utf16Declaration = "<?xml version=\"1.0\" encoding=\"utf-16\"?>";
  const std::string latin1Body = envelope(response(joaoLatin1));
  const std::string undefinedBody = envelope(response("\x81"));
  const std::string cutBody = utf16(envelope(response("{}")), true, false) + "<";
  const auto invalidAt = [](const std::string& encoding, size_t offset) {
    return kFailed + "a resposta não pôde ser lida: bytes inválidos para a codificação " +
           encoding + " na posição " + std::to_string(offset);
  };
  return {
      {"UTF-8 with a charset", 200, "text/xml; charset=utf-8", envelope(response(joao)),
       "= " + joao},
      {"UTF-8 with a byte-order mark", 200, "text/xml", "\xEF\xBB\xBF" + envelope(response(joao)),
       "= " + joao},
      {"default namespace, header, comment, CDATA and a second child", 200, "text/xml",
       "<?xml version=\"1.0\"?>\n<soap:Envelope xmlns:soap=\"" + kSoap +
           "\">\n"
           "  <soap:Header><h:x xmlns:h=\"urn:h\">ignored</h:x></soap:Header>\n"
           "  <soap:Body>\n    <QualquerNome xmlns=\"urn:m\">\n      <!-- a comment -->\n"
           "      <resultado>{\"a\":<![CDATA[\"<b>\"]]>}</resultado>\n      <outro>no</outro>\n"
           "    </QualquerNome>\n  </soap:Body>\n</soap:Envelope>\n",
       "= {\"a\":\"<b>\"}"},
      {"character references", 200, "text/xml",
       envelope(response("{&quot;Nome&quot;:&quot;Jo&#xE3;o &#231; &#x1F600; &amp;&quot;}")),
       "= {\"Nome\":\"João ç 😀 &\"}"},
      {"charset only in the Content-Type", 200, "text/xml; charset=ISO-8859-1",
       envelope(response(joaoLatin1)), "= " + joao},
      {"quoted windows-1252 charset and declaration", 200, "text/xml; charset=\"windows-1252\"",
       envelope(response("{\"Pre\xE7o\":\"\x80 5\"}"),
                "<?xml version=\"1.0\" encoding=\"windows-1252\"?>"),
       "= {\"Preço\":\"€ 5\"}"},
      {"declaration only", 200, "text/xml",
       envelope(response(joaoLatin1), "<?xml version='1.0' encoding='iso-8859-1'?>"), "= " + joao},
      {"the Content-Type wins over the declaration", 200, "text/xml; charset=windows-1252",
       envelope(response(joaoLatin1), "<?xml version=\"1.0\" encoding=\"utf-8\"?>"), "= " + joao},
      {"UTF-16LE with a byte-order mark, declared UCS-2", 200, "text/xml",
       utf16(envelope(response(joao), "<?xml version=\"1.0\" encoding=\"UCS-2\"?>"), true, true),
       "= " + joao},
      {"UTF-16BE named by the Content-Type", 200, "text/xml; charset=utf-16",
       utf16(envelope(response(joao)), false, true), "= " + joao},
      {"UTF-16LE declared, without a byte-order mark", 200, "text/xml",
       utf16(envelope(response(joao), utf16Declaration), true, false), "= " + joao},
      {"UTF-16LE named by the Content-Type, with neither mark nor declaration", 200,
       "text/xml; charset=utf-16", utf16(envelope(response(joao)), true, false), "= " + joao},
      {"multi-reference after the response", 200, "text/xml",
       envelope("<ns1:BuscaLeadsResponse xmlns:ns1=\"" + kService +
                "\"><BuscaLeadsReturn href=\"#id0\"/></ns1:BuscaLeadsResponse>"
                "<multiRef id=\"id0\" xsi:type=\"xsd:string\">" +
                joao + "</multiRef>"),
       "= " + joao},
      {"multi-reference before the response, chained", 200, "text/xml",
       envelope("<v id=\"2\">{}</v><r id=\"1\" href=\"#2\"/><NS1:BuscaLeadsResponse xmlns:NS1=\"" +
                kService + "\"><return href=\"#1\"/></NS1:BuscaLeadsResponse>"),
       "= {}"},
      {"every Body entry with an id", 200, "text/xml",
       envelope("<NS1:BuscaLeadsResponse id=\"r\" xmlns:NS1=\"" + kService +
                "\"><return href=\"#1\"/></NS1:BuscaLeadsResponse><v id=\"1\">{}</v>"),
       "= {}"},
      {"multi-reference to no element", 200, "text/xml",
       envelope("<NS1:BuscaLeadsResponse xmlns:NS1=\"" + kService +
                "\"><return href=\"#1\"/></NS1:BuscaLeadsResponse><v id=\"2\">{}</v>"),
       kFailed +
           "o resultado da resposta SOAP remete a \"#1\", que não leva a um elemento da resposta"},
      {"multi-reference in a circle", 200, "text/xml",
       envelope("<NS1:BuscaLeadsResponse xmlns:NS1=\"" + kService +
                "\"><return href=\"#1\"/></NS1:BuscaLeadsResponse><a id=\"1\" href=\"#2\"/>"
                "<b id=\"2\" href=\"#1\"/>"),
       kFailed +
           "o resultado da resposta SOAP remete a \"#1\", que não leva a um elemento da resposta"},
      {"a reference to a surrogate", 200, "text/xml", envelope(response("{\"a\":\"&#xD800;\"}")),
       kFailed + "a resposta traz a referência &#xD800;, que não é um caractere admitido pelo XML"},
      {"a reference to NUL beside one in CDATA", 200, "text/xml",
       envelope(response("<![CDATA[&#0;]]>{\"a\":\"x&#0;y\"}")),
       kFailed + "a resposta traz a referência &#0;, que não é um caractere admitido pelo XML"},
      {"Latin-1 bytes under a UTF-8 charset", 200, "text/xml; charset=utf-8", latin1Body,
       invalidAt("UTF-8", latin1Body.find('\xE3'))},
      {"a byte windows-1252 leaves undefined", 200, "text/xml; charset=windows-1252", undefinedBody,
       invalidAt("windows-1252", undefinedBody.find('\x81'))},
      {"UTF-16 cut in the middle of a character", 200, "text/xml; charset=utf-16le", cutBody,
       invalidAt("UTF-16LE", cutBody.size() - 1)},
      {"an encoding the client does not read", 200, "text/xml; charset=shift_jis",
       envelope(response("{}")),
       kFailed + "a resposta não pôde ser lida: a codificação \"shift_jis\" não é suportada"},
      {"not XML", 200, "text/xml", "{\"Status\":{\"Codigo\":0}}",
       kFailed + "a resposta não é um XML válido"},
      {"empty", 200, "text/xml", "", kFailed + "a resposta está vazia"},
      {"HTML", 200, "text/html", "<html><body>Service Unavailable</body></html>",
       kFailed + "a resposta não é um envelope SOAP"},
      {"an Envelope in another namespace", 200, "text/xml",
       "<x:Envelope xmlns:x=\"urn:other\"><x:Body><r><v>1</v></r></x:Body></x:Envelope>",
       kFailed + "a resposta não é um envelope SOAP"},
      {"a response without result", 200, "text/xml", envelope("<BuscaLeadsResponse/>"),
       kFailed + "a resposta SOAP não traz o resultado da operação"},
      {"a DOCTYPE with an external entity", 200, "text/xml",
       "<?xml version=\"1.0\"?><!DOCTYPE S:Envelope [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>" +
           envelope("<r><v>&x;</v></r>"),
       kFailed + "a resposta traz uma declaração DOCTYPE, que não é aceita"},
      {"a fault with HTTP 500", 500, "text/xml",
       fault("<faultstring>Access violation at address 0042 &amp; more</faultstring>"),
       "fault S:Server: Access violation at address 0042 & more"},
      {"a fault with HTTP 200, in windows-1252", 200, "text/xml; charset=windows-1252",
       fault("<faultstring>DN inv\xE1lido</faultstring>"), "fault S:Server: DN inválido"},
      {"a fault without faultstring", 500, "text/xml", fault(""),
       "fault S:Server: Falha ao chamar a operação BuscaLeads em URL: falha SOAP sem descrição "
       "(S:Server)"},
      {"HTTP 500 without a fault", 500, "text/plain", "Internal Server Error",
       kFailed + "o servidor respondeu HTTP 500"},
      {"HTTP 500 with a result", 500, "text/xml", envelope(response("{}")),
       kFailed + "o servidor respondeu HTTP 500"},
      {"HTTP 404 with a result", 404, "text/xml", envelope(response("{}")),
       kFailed + "o servidor respondeu HTTP 404"},
  };
}

std::string outcomeOf(const std::string& url) {
  std::string outcome;
  try {
    outcome =
        "= " + GetIVornLeadsVW(false, url, std::make_shared<SoapHttpClient>())->BuscaLeads("{}");
  } catch (const SoapFault& error) {
    outcome = "fault " + error.faultCode() + ": " + error.what();
  } catch (const VornError& error) {
    outcome = std::string("! ") + error.what();
  }
  const auto at = outcome.find(url);
  return at == std::string::npos ? outcome : outcome.replace(at, url.size(), "URL");
}

TEST(ReplyForms, EachFormReadsAsExpected) {
  test::SoapTestServer server;
  for (const ReplyForm& form : replyForms()) {
    server.answer(form.status, form.body, form.contentType);
    EXPECT_EQ(outcomeOf(server.url()), form.outcome) << form.form;
  }
}

}  // namespace
}  // namespace vornleads
