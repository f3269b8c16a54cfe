/*
 * The text form of numeric header parameters: numbers separated by blanks
 * and line feeds, written and read with the engine locale.
 */
#ifndef KVSUP_HEADER_PARAMS_TEXT_H
#define KVSUP_HEADER_PARAMS_TEXT_H

#include "kvsup.h"

#include <stddef.h>
#include <stdint.h>

namespace kvhdr {

/* How each number type is read. Integers stop at the end of the text (and
 * at the first token that is not a number) and report how many they read;
 * the real forms make one attempt per place whatever the text holds. */
template <typename T> struct NumberText;
template <> struct NumberText<int32_t> { static constexpr bool stops_at_end = true; };
template <> struct NumberText<double> { static constexpr bool stops_at_end = false; };
template <> struct NumberText<float> { static constexpr bool stops_at_end = false; };

/* Moves *p past blanks and returns the start of the next token, or NULL at
 * the end of the text; *p is then left after the token. */
const char *next_token(const char **p);

/* Scans one token ("%d", "%lf" or "%f"); false when it is not a number,
 * and the value is then left alone. */
bool scan_one(const char *token, int32_t *value);
bool scan_one(const char *token, double *value);
bool scan_one(const char *token, float *value);

/* Integers: reads up to count values from successive tokens, stopping at
 * the end of the text or at a token that is not a number; returns the
 * number read. Reals: one attempt for each of the count places; places
 * without a token keep their contents. */
uint32_t scan_numbers(const char *text, int32_t *values, uint32_t count);
uint32_t scan_numbers(const char *text, double *values, uint32_t count);
uint32_t scan_numbers(const char *text, float *values, uint32_t count);

/* The number of tokens of one value of a list that take a place: every
 * token for integers, only tokens that begin with a digit, '.' or '-' for
 * the real forms. */
template <typename T> uint32_t count_number_tokens(const char *text);

/* Fills up to per places from the counted tokens of one value; a token
 * that does not scan leaves its place zero. */
template <typename T> void scan_number_tokens(const char *text, T *values, uint32_t per);

/* The numbers as text ("%d" or "%f"), each followed by a line feed when its
 * position (from 1) is a multiple of perLine, else by a blank. A new string,
 * or NULL when memory runs out. perLine must not be 0. */
char *format_numbers(const int32_t *values, uint32_t count, uint32_t perLine);
char *format_numbers(const double *values, uint32_t count, uint32_t perLine);
char *format_numbers(const float *values, uint32_t count, uint32_t perLine);

} // namespace kvhdr

#endif
