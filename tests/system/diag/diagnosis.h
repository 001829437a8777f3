/*
 * A diagnostic from its request to its text, and the folder from which it takes its tools.
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

/* A folder in front of all others in PATH, until the end of the scope. */
class ToolFolder {
  public:
    ToolFolder();
    ~ToolFolder();
    ToolFolder(const ToolFolder &) = delete;
    ToolFolder &operator=(const ToolFolder &) = delete;

    /* Makes a tool: a shell script with this body, or another program under this name. */
    void put_script(const std::string &name, const std::string &body) const;
    void put_link(const std::string &name, const std::string &program) const;

    /* From now on there are no other tools. */
    void hide_others() const;

  private:
    std::string path_before_;
};
