/*
 * The folder from which a test and the programs that it starts take their tools.
 */
#pragma once

#include <string>

/* The first folder in PATH, until the end of the scope. */
class ToolFolder {
  public:
    ToolFolder();
    ~ToolFolder();
    ToolFolder(const ToolFolder &) = delete;
    ToolFolder &operator=(const ToolFolder &) = delete;

    /* Creates a tool: a shell script with this body, or another program with this name. */
    void put_script(const std::string &name, const std::string &body) const;
    void put_link(const std::string &name, const std::string &program) const;

    /* Removes all other folders from PATH. */
    void hide_others() const;

  private:
    std::string path_before_;
};
