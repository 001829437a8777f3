/*
 * The database as the typed layer sees it: a program that links fake_database.cpp asks this one instead of
 * the module zndb. It refuses what the client of the database refuses.
 */
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "doubles/double.h"
#include "os_mem.h"
#include "support/memory_usage.h"
#include "zndb.h"

struct DatabaseRequest {
    std::string call; /* such as "zndb_get" */
    std::string key;
    std::string value;  /* of a set */
    const void *buffer; /* of a get */
    uint32_t size;      /* of a get */
};

struct FakeDatabase {
    std::map<std::string, std::string> plain;
    std::map<std::string, std::string> perm;
    int result = E_ZNDB_RET_SUCCESS;    /* when it is another, every request fails with it */
    size_t spared = 0;                  /* requests from the first on that don't fail */
    std::map<std::string, int> results; /* of single calls, such as "zndb_save" */
    std::string raw_answer;             /* when there is one, what a get finds, without a NUL */
    std::vector<DatabaseRequest> requests;
    std::function<void(const DatabaseRequest &)> seen; /* called for each request, before it is carried out */
};

/* The program's one database. */
FakeDatabase &fake_database();

/* A test with an empty database of its own. It fails when it leaves a tracked block behind. */
class ConfigTest : public testing::Test {
  protected:
    void SetUp() override {
        doubles::restore_all();
        fake_database() = {};
        blocks_ = live_blocks();
    }
    void TearDown() override {
        EXPECT_EQ(blocks_, live_blocks());
        doubles::restore_all();
    }

    FakeDatabase &database() { return fake_database(); }

    /* Stores a value in the plain store, past the code under test. */
    void store(const std::string &key, const std::string &value) { fake_database().plain[key] = value; }

    /* What the plain store holds; "(none)" for a missing key. */
    std::string stored(const std::string &key) const {
        const auto found = fake_database().plain.find(key);
        return found != fake_database().plain.end() ? found->second : "(none)";
    }

  private:
    uint32_t blocks_ = 0;
};
