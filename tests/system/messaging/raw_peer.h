/*
 * Both ends of a module's socket, by hand: bytes in, bytes out, without the library.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "support/wait_until.h"

/* 32-bit words as they lie in memory. */
std::string words(std::initializer_list<uint32_t> values);

/* The word at a place of a text; 0 when the text ends before. */
uint32_t word_at(const std::string &bytes, size_t offset);

/* The header that a sender writes before the body. */
struct RawRequest {
    uint32_t src = 9;
    uint32_t msgid = 0;
    uint32_t async = 0;
    uint32_t timeout = 5;
    uint32_t rsp_size = 0;
    uint32_t data_len = 0;

    static RawRequest of(uint32_t msgid) {
        RawRequest request;
        request.msgid = msgid;
        return request;
    }

    std::string bytes() const { return words({src, msgid, async, timeout, rsp_size, data_len}); }
};

/* One connection; nothing when it could not be made. */
class RawConnection {
  public:
    RawConnection() = default;
    explicit RawConnection(int fd) : fd_(fd) {}
    RawConnection(RawConnection &&other) noexcept;
    RawConnection &operator=(RawConnection &&other) noexcept;
    ~RawConnection() { close(); }

    /* Connects to a module's socket; waits while its queue is full. */
    static RawConnection to(const std::string &module);

    /* The same, but gives up at once when the queue is full. */
    static RawConnection try_to(const std::string &module);

    explicit operator bool() const { return fd_ >= 0; }

    bool send(const std::string &bytes);

    /* Reads size bytes; fewer when the peer closes or the limit passes. */
    std::string receive(size_t size, std::chrono::milliseconds limit = kPatience);

    /* Reads everything until the peer closes. */
    std::string receive_rest(std::chrono::milliseconds limit = kPatience);

    /* Whether the peer closes within the limit without another byte. */
    bool closes(std::chrono::milliseconds limit = kPatience);

    /* Whether the peer says nothing, and stays, for this long. */
    bool stays_silent(std::chrono::milliseconds time);

    void close();

  private:
    int fd_ = -1;
};

/* A listening socket in the place of a module's. */
class RawServer {
  public:
    explicit RawServer(const std::string &module, int backlog = 16);
    ~RawServer();
    RawServer(const RawServer &) = delete;
    RawServer &operator=(const RawServer &) = delete;

    /* Takes the next connection; nothing when none comes in time. */
    RawConnection accept(std::chrono::milliseconds limit = kPatience);

  private:
    std::string path_;
    int fd_ = -1;
};
