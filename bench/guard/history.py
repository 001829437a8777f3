"""The versions of the record since the last release that has one, from the history of the project."""

import os
import subprocess
import sys
import tempfile

NAME = "bench/guard.txt"


class NoHistory(Exception):
    """The history can't be read; with git's message."""


class History:
    """The git repository of the project in a folder."""

    def __init__(self, folder):
        self.folder = folder
        # A hook's variables would name another repository.
        self.environment = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")}

    def git(self, *words):
        try:
            done = subprocess.run(["git", "-C", self.folder, *words], capture_output=True, text=True, check=False,
                                  env=self.environment)
        except OSError as error:
            raise NoHistory(str(error)) from None
        if done.returncode != 0:
            raise NoHistory(done.stderr.strip())
        return done.stdout

    def version(self, commit):
        """The record of a commit, or None."""
        try:
            return self.git("show", f"{commit}:{NAME}")
        except NoHistory:
            return ""

    def is_shallow(self):
        return self.git("rev-parse", "--is-shallow-repository").strip() == "true"

    def release(self):
        """The last release with a record, or None."""
        tags = self.git("tag", "--merged", "HEAD", "--sort=-creatordate").split()
        return next((tag for tag in tags if self.version(tag)), "")

    def versions(self):
        """All records committed since that release, including its own; all records if there is no release."""
        release = self.release()
        since = f"{release}..HEAD" if release else "HEAD"
        commits = self.git("log", "--full-history", "--format=%H", since, "--", NAME).split()
        texts = [self.version(commit) for commit in commits + ([release] if release else [])]
        return [text for text in texts if text]


class Trial(History):
    """A repository with a few commits and tags, to check the search in it."""

    def commit(self, text, tag=None):
        path = os.path.join(self.folder, NAME)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if text:
            with open(path, "w", encoding="ascii") as file:
                file.write(text)
            self.git("add", NAME)
        self.git("-c", "user.name=guard", "-c", "user.email=guard@localhost", "-c", "commit.gpgsign=false",
                 "commit", "-q", "--allow-empty", "-m", "a record")
        if tag:
            self.git("tag", tag)


def check_itself():
    with tempfile.TemporaryDirectory() as folder:
        trial = Trial(os.path.join(folder, "whole"))
        os.mkdir(trial.folder)
        trial.git("init", "-q")
        trial.commit("", "before")
        trial.commit("high")
        trial.commit("low")
        trial.commit("middle")
        all_of_them = trial.versions()
        trial.git("tag", "release", "HEAD~1")
        trial.git("clone", "-q", "--depth", "1", f"file://{trial.folder}", os.path.join(folder, "shallow"))
        shallow = History(os.path.join(folder, "shallow"))
        found = [all_of_them, trial.versions(), shallow.versions(), trial.is_shallow(), shallow.is_shallow()]
        if found != [["middle", "low", "high"], ["middle", "low"], ["middle"], False, True]:
            sys.exit("guard: earlier records are not found")
