// The lexer of the tul language: source text in, tokens out, each with the
// line and column where it starts.
//
// Invariant: the token list always ends with one End token, so the parser
// may look one token ahead without bounds checks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tulscript {

enum class TokenKind : std::uint8_t {
  End,
  Ident,
  Int,     // intValue
  Double,  // doubleValue
  String,  // text holds the decoded bytes
  // Keywords.
  KwVar, KwFunction, KwClass, KwStatic, KwIf, KwElse, KwWhile, KwFor, KwIn,
  KwBreak, KwContinue, KwReturn, KwTry, KwCatch, KwThrow, KwInclude, KwNil,
  KwTrue, KwFalse, KwThis, KwBase,
  // Punctuation and operators.
  LParen, RParen, LBrace, RBrace, LBracket, RBracket, Comma, Semicolon, Colon,
  Dot, Question,
  Plus, Minus, Star, Slash, Percent, Amp, Pipe, Caret, Tilde, Bang,
  Shl, Shr, UShr, AmpAmp, PipePipe, PlusPlus, MinusMinus,
  Eq, EqEq, BangEq, Less, LessEq, Greater, GreaterEq,
  PlusEq, MinusEq, StarEq, SlashEq, PercentEq, AmpEq, PipeEq, CaretEq, ShlEq,
  ShrEq, UShrEq,
};

struct Token {
  TokenKind kind = TokenKind::End;
  int line = 0;
  int col = 0;
  std::string text;  // identifier name or string contents
  std::int32_t intValue = 0;
  double doubleValue = 0;
};

// Where and why lexing or parsing stopped.
struct SyntaxError {
  int line = 0;
  int col = 0;
  std::string message;
};

// Splits the source into tokens. False with `error` filled at the first
// malformed token (an unknown character, an unterminated string or comment,
// a bad escape, an integer literal wider than 32 bits).
bool tokenize(const std::string& source, std::vector<Token>& out, SyntaxError& error);

// How a token is shown in syntax errors: "'+'", "'while'", "identifier 'x'",
// "end of file".
std::string describeToken(const Token& t);
// The spelling of a punctuation or keyword kind ("+=", "while").
const char* tokenSpelling(TokenKind kind);

}  // namespace tulscript
