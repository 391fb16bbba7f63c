#include "answers.hpp"

namespace morvex::tools {

void require(mxg_code code) {
  if (code == MXG_OK) return;
  const mxg_error& error = *mxg_last_error();
  if (error.dataset[0] != '\0') throw ReadFailure(code, error.dataset, error.text);
  throw AskFailure(code, error.text);
}

}  // namespace morvex::tools
