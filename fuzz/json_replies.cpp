// The JSON mapper filling the four replies of the leads service from the service's text.
// Whatever the service sends, reading ends in a filled reply or in ConversionError. A reply
// that was read writes itself back, and reading that text again gives the same text: nothing
// is lost or invented on the way through the record.
#include "fuzz_input.h"
#include "vornleads/error.h"
#include "vornleads/service/records_replies.h"

namespace {

template <class Reply>
void readReply(const std::string& text) {
  Reply reply;
  try {
    reply = Reply::FromJSON(text);
  } catch (const vornleads::VornError&) {
    return;
  }
  const std::string written = reply.AsJSON();
  if (Reply::FromJSON(written).AsJSON() != written) {
    vornleads::fuzz::finding("a reply read back from its own JSON writes other JSON");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = vornleads::fuzz::asText(data, size);
  readReply<vornleads::TRetornoBuscaLeadsClass>(text);
  readReply<vornleads::TRetornoBuscaNovosLeadsClass>(text);
  readReply<vornleads::TRetornoBuscaHistoricoDealerClass>(text);
  readReply<vornleads::TRetornoAtualizaLeadClass>(text);
  return 0;
}
