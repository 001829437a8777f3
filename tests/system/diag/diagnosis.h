/*
 * A diagnostic from its request to its text.
 */
#pragma once

#include <string>

#include "frwk_diag.h"

/* One run; freed at the end. */
class Diagnosis {
  public:
    Diagnosis(int32_t type, const frwk_diag_req &req);
    ~Diagnosis();
    Diagnosis(const Diagnosis &) = delete;
    Diagnosis &operator=(const Diagnosis &) = delete;

    int32_t result() const { return result_; }
    std::string text() const;
    std::string path() const { return context_.path; }
    void free() { frwk_diag_free(&context_); }

  private:
    frwk_diag_ctx context_;
    int32_t result_;
};
