#pragma once
// The field math language: numbers, prefix operators, thirteen binary
// operator levels, one-argument functions and field(n). A recursive-descent
// parser that evaluates while it parses; no tree is built.

#include "engine/Locale.h"
#include "engine/Value.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace engine {

class Evaluator {
public:
    explicit Evaluator(const Locale& locale);

    // Evaluates text against the record's fields and stores the result in
    // destination, also after an error (destination may be one of
    // fieldValue's entries). Returns true when no error was flagged. Never
    // throws.
    bool EvaluateExpression(std::string_view text, Value& destination,
                            const std::array<Value, 42>& fieldValue);

    // Reads the next token from ExprRest into TokenKind and TokenText.
    void GetToken();
    // Parses and evaluates, from the current token, the longest expression
    // whose binary operators all have a level not below level.
    Value ParseExpression(int level);

    std::string ExprRest;
    std::string TokenKind; // empty: end of the expression
    std::string TokenText;
    bool ExprError = false;

    // Nesting deeper than this is an error rather than a stack overflow.
    static constexpr int MaxDepth = 200;

private:
    // What a token is to the parser, found once when the expression is read.
    enum class Type : std::uint8_t { End, Num, Id, Minus, AmpH, Not, LParen, RParen, Other };
    struct Token {
        std::string kind, text; // as GetToken reports them
        Type type = Type::End;
        int op = -1;       // row of the operator table, -1 for none
        int function = -1; // for identifiers: the function, -1 for an unknown name
        double number = 0; // for numbers: the value
    };

    Value ParseOperand();
    Value ApplyFunction(int function, const Value& x);
    Value Combine(int op, const Value& a, const Value& b);
    // Moves to the next token (the last one, the end, stays).
    void Advance() {
        if (current_ + 1 < tokens_->size())
            ++current_;
    }
    const Token& Current() const { return (*tokens_)[current_]; }

    // Reads one token from ExprRest at restPos_ (the tokenizer proper).
    void ScanToken(std::string& kind, std::string& text);
    // Reads all of text into tokens, each with what the parser needs of it.
    void Tokenize(const std::string& text, std::vector<Token>& tokens);

    const Locale& locale_;
    const std::array<Value, 42>* fields_ = nullptr;
    std::size_t restPos_ = 0; // ExprRest is consumed by advancing this index
    // Each field's expression runs record after record: its tokens are read
    // once and kept, for as many different texts as a record has fields.
    // A longer list (a user trying expression after expression) starts over.
    struct Tokenized {
        std::string text;
        std::vector<Token> tokens; // the last one is the end
    };
    static constexpr std::size_t MaxKept = 42;
    std::vector<Tokenized> kept_;
    const std::vector<Token>* tokens_ = &EndOnly;
    static const std::vector<Token> EndOnly;
    std::size_t current_ = 0;
    int depth_ = 0;
    // rnd: a 24-bit linear congruential generator, as single-precision
    // numbers need no more.
    std::uint32_t rndSeed_ = 0x50000;
    float rndLast_ = 0;
};

} // namespace engine
