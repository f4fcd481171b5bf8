// The lexer: a single pass over the bytes of the source. Integer literals
// are read as unsigned 32-bit patterns (0xFFFFFFFF is -1), so every Win32
// constant can be written as the system headers write it.
#include "script/lexer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tulscript {
namespace {

struct Keyword {
  const char* word;
  TokenKind kind;
};

constexpr Keyword kKeywords[] = {
    {"var", TokenKind::KwVar},         {"function", TokenKind::KwFunction},
    {"class", TokenKind::KwClass},     {"static", TokenKind::KwStatic},
    {"if", TokenKind::KwIf},           {"else", TokenKind::KwElse},
    {"while", TokenKind::KwWhile},     {"for", TokenKind::KwFor},
    {"in", TokenKind::KwIn},           {"break", TokenKind::KwBreak},
    {"continue", TokenKind::KwContinue}, {"return", TokenKind::KwReturn},
    {"try", TokenKind::KwTry},         {"catch", TokenKind::KwCatch},
    {"throw", TokenKind::KwThrow},     {"include", TokenKind::KwInclude},
    {"nil", TokenKind::KwNil},         {"true", TokenKind::KwTrue},
    {"false", TokenKind::KwFalse},     {"this", TokenKind::KwThis},
    {"base", TokenKind::KwBase},
};

// Longest spellings first, so "<<=" wins over "<<" and "<".
struct Punct {
  const char* text;
  TokenKind kind;
};

constexpr Punct kPunctuation[] = {
    {">>>=", TokenKind::UShrEq}, {">>>", TokenKind::UShr},
    {"<<=", TokenKind::ShlEq},   {">>=", TokenKind::ShrEq},
    {"<<", TokenKind::Shl},      {">>", TokenKind::Shr},
    {"&&", TokenKind::AmpAmp},   {"||", TokenKind::PipePipe},
    {"++", TokenKind::PlusPlus}, {"--", TokenKind::MinusMinus},
    {"==", TokenKind::EqEq},     {"!=", TokenKind::BangEq},
    {"<=", TokenKind::LessEq},   {">=", TokenKind::GreaterEq},
    {"+=", TokenKind::PlusEq},   {"-=", TokenKind::MinusEq},
    {"*=", TokenKind::StarEq},   {"/=", TokenKind::SlashEq},
    {"%=", TokenKind::PercentEq}, {"&=", TokenKind::AmpEq},
    {"|=", TokenKind::PipeEq},   {"^=", TokenKind::CaretEq},
    {"(", TokenKind::LParen},    {")", TokenKind::RParen},
    {"{", TokenKind::LBrace},    {"}", TokenKind::RBrace},
    {"[", TokenKind::LBracket},  {"]", TokenKind::RBracket},
    {",", TokenKind::Comma},     {";", TokenKind::Semicolon},
    {":", TokenKind::Colon},     {".", TokenKind::Dot},
    {"?", TokenKind::Question},  {"+", TokenKind::Plus},
    {"-", TokenKind::Minus},     {"*", TokenKind::Star},
    {"/", TokenKind::Slash},     {"%", TokenKind::Percent},
    {"&", TokenKind::Amp},       {"|", TokenKind::Pipe},
    {"^", TokenKind::Caret},     {"~", TokenKind::Tilde},
    {"!", TokenKind::Bang},      {"=", TokenKind::Eq},
    {"<", TokenKind::Less},      {">", TokenKind::Greater},
};

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
bool isIdentStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isIdentChar(char c) { return isIdentStart(c) || isDigit(c); }

int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c - 'A' + 10;
}

class Lexer {
 public:
  Lexer(const std::string& src, SyntaxError& error) : src_(src), error_(error) {}

  bool run(std::vector<Token>& out) {
    for (;;) {
      if (!skipSpaceAndComments()) return false;
      Token t;
      t.line = line_;
      t.col = col();
      if (pos_ >= src_.size()) {
        out.push_back(t);
        return true;
      }
      if (!next(t)) return false;
      out.push_back(std::move(t));
    }
  }

 private:
  char peek(std::size_t ahead = 0) const {
    return pos_ + ahead < src_.size() ? src_[pos_ + ahead] : '\0';
  }
  int col() const { return static_cast<int>(pos_ - lineStart_) + 1; }
  void advance() {
    if (src_[pos_] == '\n') {
      ++line_;
      lineStart_ = pos_ + 1;
    }
    ++pos_;
  }

  bool fail(int line, int column, std::string message) {
    error_.line = line;
    error_.col = column;
    error_.message = std::move(message);
    return false;
  }

  bool skipSpaceAndComments() {
    while (pos_ < src_.size()) {
      char c = peek();
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v') {
        advance();
      } else if (c == '/' && peek(1) == '/') {
        while (pos_ < src_.size() && peek() != '\n') advance();
      } else if (c == '/' && peek(1) == '*') {
        int line = line_, column = col();
        advance();
        advance();
        while (pos_ < src_.size() && !(peek() == '*' && peek(1) == '/')) advance();
        if (pos_ >= src_.size()) return fail(line, column, "unterminated comment");
        advance();
        advance();
      } else {
        return true;
      }
    }
    return true;
  }

  bool next(Token& t) {
    char c = peek();
    if (isIdentStart(c)) return identifier(t);
    if (isDigit(c) || (c == '.' && isDigit(peek(1)))) return number(t);
    if (c == '"') return string(t);
    if (c == '\'') return character(t);
    for (const Punct& p : kPunctuation) {
      std::size_t n = std::strlen(p.text);
      if (src_.compare(pos_, n, p.text) == 0) {
        t.kind = p.kind;
        for (std::size_t i = 0; i < n; ++i) advance();
        return true;
      }
    }
    if (static_cast<unsigned char>(c) < 32 || static_cast<unsigned char>(c) >= 127) {
      char buf[40];
      std::snprintf(buf, sizeof buf, "unexpected character (byte 0x%02X)",
                    static_cast<unsigned>(static_cast<unsigned char>(c)));
      return fail(t.line, t.col, buf);
    }
    return fail(t.line, t.col, std::string("unexpected character '") + c + "'");
  }

  bool identifier(Token& t) {
    std::size_t start = pos_;
    while (isIdentChar(peek())) advance();
    t.text = src_.substr(start, pos_ - start);
    t.kind = TokenKind::Ident;
    for (const Keyword& k : kKeywords)
      if (t.text == k.word) t.kind = k.kind;
    return true;
  }

  bool number(Token& t) {
    if (peek() == '0' && (peek(1) == 'x' || peek(1) == 'X')) return hexNumber(t);
    std::size_t start = pos_;
    bool isDouble = false;
    while (isDigit(peek())) advance();
    if (peek() == '.' && isDigit(peek(1))) {
      isDouble = true;
      advance();
      while (isDigit(peek())) advance();
    }
    if (peek() == 'e' || peek() == 'E') {
      advance();
      if (peek() == '+' || peek() == '-') advance();
      if (!isDigit(peek())) return fail(t.line, t.col, "malformed number: exponent without digits");
      isDouble = true;
      while (isDigit(peek())) advance();
    }
    if (isIdentChar(peek())) return fail(t.line, t.col, "malformed number");
    std::string text = src_.substr(start, pos_ - start);
    if (isDouble) {
      t.kind = TokenKind::Double;
      t.doubleValue = std::strtod(text.c_str(), nullptr);
      return true;
    }
    std::uint64_t v = 0;
    for (char d : text) {
      v = v * 10 + static_cast<std::uint64_t>(d - '0');
      if (v > 0xFFFFFFFFull) return fail(t.line, t.col, "integer literal does not fit in 32 bits");
    }
    t.kind = TokenKind::Int;
    t.intValue = static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
    return true;
  }

  bool hexNumber(Token& t) {
    advance();
    advance();
    if (!isHexDigit(peek())) return fail(t.line, t.col, "malformed number: '0x' without digits");
    std::uint64_t v = 0;
    while (isHexDigit(peek())) {
      v = v * 16 + static_cast<std::uint64_t>(hexValue(peek()));
      if (v > 0xFFFFFFFFull) return fail(t.line, t.col, "integer literal does not fit in 32 bits");
      advance();
    }
    if (isIdentChar(peek())) return fail(t.line, t.col, "malformed number");
    t.kind = TokenKind::Int;
    t.intValue = static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
    return true;
  }

  // One character of a string or character literal, escapes decoded.
  bool literalChar(char& out) {
    int line = line_, column = col();
    out = '\0';
    char c = peek();
    if (c != '\\') {
      out = c;
      advance();
      return true;
    }
    advance();
    char e = peek();
    switch (e) {
      case 'n': out = '\n'; break;
      case 't': out = '\t'; break;
      case 'r': out = '\r'; break;
      case '0': out = '\0'; break;
      case '\\': out = '\\'; break;
      case '"': out = '"'; break;
      case '\'': out = '\''; break;
      case 'x': {
        if (!isHexDigit(peek(1)) || !isHexDigit(peek(2)))
          return fail(line, column, "escape '\\x' needs two hexadecimal digits");
        out = static_cast<char>(hexValue(peek(1)) * 16 + hexValue(peek(2)));
        advance();
        advance();
        break;
      }
      default:
        if (e == '\0' && pos_ >= src_.size()) break;
        return fail(line, column, std::string("unknown escape '\\") + e + "'");
    }
    if (pos_ < src_.size()) advance();
    return true;
  }

  bool string(Token& t) {
    advance();
    while (pos_ < src_.size() && peek() != '"' && peek() != '\n') {
      char c;
      if (!literalChar(c)) return false;
      t.text += c;
    }
    if (peek() != '"') return fail(t.line, t.col, "unterminated string");
    advance();
    t.kind = TokenKind::String;
    return true;
  }

  bool character(Token& t) {
    advance();
    if (pos_ >= src_.size() || peek() == '\'' || peek() == '\n')
      return fail(t.line, t.col, "empty character literal");
    char c;
    if (!literalChar(c)) return false;
    if (peek() != '\'') return fail(t.line, t.col, "character literal must hold one character");
    advance();
    t.kind = TokenKind::Int;
    t.intValue = static_cast<unsigned char>(c);
    return true;
  }

  const std::string& src_;
  SyntaxError& error_;
  std::size_t pos_ = 0;
  std::size_t lineStart_ = 0;
  int line_ = 1;
};

}  // namespace

bool tokenize(const std::string& source, std::vector<Token>& out, SyntaxError& error) {
  out.clear();
  return Lexer(source, error).run(out);
}

const char* tokenSpelling(TokenKind kind) {
  for (const Keyword& k : kKeywords)
    if (k.kind == kind) return k.word;
  for (const Punct& p : kPunctuation)
    if (p.kind == kind) return p.text;
  switch (kind) {
    case TokenKind::End: return "end of file";
    case TokenKind::Ident: return "identifier";
    case TokenKind::Int: return "integer";
    case TokenKind::Double: return "number";
    case TokenKind::String: return "string";
    default: return "?";
  }
}

std::string describeToken(const Token& t) {
  switch (t.kind) {
    case TokenKind::End: return "end of file";
    case TokenKind::Ident: return "identifier '" + t.text + "'";
    case TokenKind::Int: return "integer " + std::to_string(t.intValue);
    case TokenKind::Double: return "number";
    case TokenKind::String: return "string";
    default: return std::string("'") + tokenSpelling(t.kind) + "'";
  }
}

}  // namespace tulscript
