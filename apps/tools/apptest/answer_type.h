/*
 * The types of call --as: an answer's bytes as a value. Pure.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "output/json_output.h"

/* "int", "uint8", "text" ...; see the man page. */
std::vector<std::string> answer_type_names();

/* The bytes that a type's answer has by default; otherwise for a type of any length. */
uint32_t default_room(const std::string &type, uint32_t otherwise);

/* The problem if an answer of so many bytes can't be of the type, with its length; "" if it can. */
std::string room_problem(const std::string &type, uint32_t room);

struct AnswerValue {
    std::string problem; /* why the bytes are not such a value, or "" */
    Json json;
    std::string text; /* the same for people, without a line end */
};

/*
 * The value of an answer, numbers in the byte order of this device.
 *
 * bytes: of a length that has no room_problem. padded: zeros at the end may be unused room; a list and hex
 * leave them out.
 */
AnswerValue answer_value(const std::string &type, const std::string &bytes, bool padded);
