#include "security/attacker.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "support/other_user.h"
#include "support/wait_until.h"

namespace {

bool become(As user) {
    return user == As::kTheSameUser || ::setresuid(kOtherUser, kOtherUser, kOtherUser) == 0;
}

}  // namespace

void PrintTo(As user, std::ostream *out) {
    *out << (user == As::kTheSameUser ? "the same user" : "another user");
}

int attack_rounds() {
    const char *rounds = std::getenv("QUOR_ATTACK_ROUNDS");
    return rounds != nullptr ? std::atoi(rounds) : 200;
}

Attacker::Attacker(As user, std::function<void()> move) {
    pid_ = ::fork();
    if (pid_ != 0) {
        EXPECT_LT(0, pid_);
        return;
    }

    shared_->has_failed = !become(user);
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL); /* forgotten when the user changes */
    while (!shared_->is_over && !shared_->has_failed) {
        move();
        ++shared_->moves;
    }
    ::_exit(0);
}

Attacker::~Attacker() {
    shared_->is_over = true;
    EXPECT_EQ(pid_, ::waitpid(pid_, nullptr, 0));
    EXPECT_FALSE(shared_->has_failed);
}

void Attacker::wait_for_a_move() {
    const unsigned long before = shared_->moves;
    ASSERT_TRUE(wait_until([this, before] { return shared_->moves >= before + 2 || shared_->has_failed; }));
}
