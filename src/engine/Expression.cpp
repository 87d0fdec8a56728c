#include "engine/Expression.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>

namespace engine {

namespace {

// A fault during computation (division by zero, overflow, a text that holds
// no number, a value out of a function's domain). It never leaves the
// ParseExpression call in which it happens.
struct Fault {};

enum class Rank { Int16 = 0, Int32 = 1, Single = 2, Double = 3 };

bool IsBlank(char c) {
    return c == '\r' || c == '\n' || c == '\t' || c == ' ';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}
char Lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

double RoundHalfEven(double v) {
    return std::nearbyint(v);
} // default rounding mode: to even

std::int32_t ToInt32(double v) {
    double r = RoundHalfEven(v);
    if (!(r >= -2147483648.0 && r <= 2147483647.0))
        throw Fault{};
    return static_cast<std::int32_t>(r);
}

Rank RankOf(const Value& v) {
    switch (v.kind()) {
    case Value::Kind::Int32:
        return Rank::Int32;
    case Value::Kind::Single:
        return Rank::Single;
    case Value::Kind::Double:
    case Value::Kind::Text:
        return Rank::Double;
    default:
        return Rank::Int16; // empty, boolean, 16-bit
    }
}

// A number in the smallest type of at least rank that holds it.
Value MakeNumber(double v, Rank rank) {
    if (!std::isfinite(v))
        throw Fault{};
    if (rank == Rank::Int16 && v >= -32768 && v <= 32767)
        return Value::Int16(static_cast<std::int16_t>(v));
    if (rank <= Rank::Int32 && v >= -2147483648.0 && v <= 2147483647.0)
        return Value::Int32(static_cast<std::int32_t>(v));
    if (rank == Rank::Single && std::fabs(v) <= std::numeric_limits<float>::max())
        return Value::Single(static_cast<float>(v));
    return Value::Double(v);
}

} // namespace

Evaluator::Evaluator(const Locale& locale) : locale_(locale) {}

namespace {

// A value as a number for arithmetic: text must start with a number.
double Number(const Value& v, const Locale& locale) {
    auto n = v.ToNumber(locale);
    if (!n)
        throw Fault{};
    return *n;
}

bool IsLogicalPair(const Value& a, const Value& b) {
    return a.kind() == Value::Kind::Boolean && b.kind() == Value::Kind::Boolean;
}

} // namespace

namespace {

struct OperatorRow {
    int level;
    const char* token;
    int rightLevel;
};

constexpr OperatorRow OperatorTable[] = {
    {11, "^", 12}, {10, "*", 11}, {10, "/", 11}, {9, "\\", 10}, {8, "mod", 9}, {7, "+", 8},
    {7, "-", 8},   {6, "=", 7},   {6, "<", 7},   {6, ">", 7},   {6, "<>", 7},  {6, "<=", 7},
    {6, ">=", 7},  {5, "and", 6}, {4, "or", 5},  {3, "xor", 4}, {2, "eqv", 3}, {1, "imp", 2},
};

} // namespace

namespace {

// clang-format off
enum Function {
    Abs, Asc, Atn, Cos, Exp, Fix, Hex, Int, LCase, Log, LTrim, Rnd, RTrim, Sgn, Sin, Sqr, Tan,
    Trim, UCase, Val, FieldFn
};
constexpr const char* FunctionNames[] = {"abs", "asc", "atn", "cos",   "exp",   "fix", "hex",
                                         "int", "lcase", "log", "ltrim", "rnd", "rtrim", "sgn",
                                         "sin", "sqr", "tan", "trim",  "ucase", "val", "field"};
// clang-format on

// Rows of the operator table by name.
enum Row { Pow, Mul, Div, IntDiv, Mod, Add, Sub, Eq, Lt, Gt, Ne, Le, Ge, And, Or, Xor, Eqv, Imp };

} // namespace

void Evaluator::GetToken() {
    Advance();
    TokenKind = Current().kind;
    TokenText = Current().text;
}

void Evaluator::ScanToken(std::string& kind, std::string& text) {
    kind.clear();
    text.clear();
    const std::string& s = ExprRest;
    while (restPos_ < s.size() && IsBlank(s[restPos_]))
        ++restPos_;
    if (restPos_ >= s.size()) {
        return; // end of the expression: both stay empty
    }
    char c = s[restPos_++];
    char lc = Lower(c);
    if (IsDigit(c) || c == '.') {
        kind = "num";
        text.push_back(c);
        while (restPos_ < s.size() && (IsDigit(s[restPos_]) || s[restPos_] == '.'))
            text.push_back(s[restPos_++]);
    } else if (IsLetter(c) || c == '_' || c == '&') {
        kind = "id";
        text.push_back(lc);
        while (restPos_ < s.size() && (IsLetter(s[restPos_]) || IsDigit(s[restPos_]) ||
                                       s[restPos_] == '&' || s[restPos_] == '_'))
            text.push_back(Lower(s[restPos_++]));
        static const char* const keywords[] = {"and", "eqv", "imp", "mod",
                                               "not", "or",  "xor", "&h"};
        for (const char* k : keywords)
            if (text == k)
                kind = k;
    } else if (c == '<' || c == '>') {
        kind = std::string(1, c);
        if (restPos_ < s.size() && (s[restPos_] == '=' || s[restPos_] == '>'))
            kind.push_back(s[restPos_++]);
    } else {
        kind = std::string(1, c);
    }
    if (text.empty())
        text = kind;
}

const std::vector<Evaluator::Token> Evaluator::EndOnly(1);

void Evaluator::Tokenize(const std::string& text, std::vector<Token>& tokens) {
    ExprRest = text;
    restPos_ = 0;
    while (true) {
        Token t;
        ScanToken(t.kind, t.text);
        if (t.kind.empty()) {
            tokens.push_back(std::move(t)); // the end
            return;
        }
        for (std::size_t r = 0; r < std::size(OperatorTable); ++r)
            if (t.kind == OperatorTable[r].token) {
                t.op = static_cast<int>(r);
                break;
            }
        t.type = t.kind == "num"   ? Type::Num
                 : t.kind == "id"  ? Type::Id
                 : t.kind == "-"   ? Type::Minus
                 : t.kind == "&h"  ? Type::AmpH
                 : t.kind == "not" ? Type::Not
                 : t.kind == "("   ? Type::LParen
                 : t.kind == ")"   ? Type::RParen
                                   : Type::Other;
        if (t.type == Type::Num)
            t.number = LeadingNumber(t.text, '.');
        if (t.type == Type::Id)
            for (std::size_t f = 0; f < std::size(FunctionNames); ++f)
                if (t.text == FunctionNames[f])
                    t.function = static_cast<int>(f);
        tokens.push_back(std::move(t));
    }
}

bool Evaluator::EvaluateExpression(std::string_view text, Value& destination,
                                   const std::array<Value, 42>& fieldValue) {
    ExprError = false;
    tokens_ = nullptr;
    for (const Tokenized& k : kept_)
        if (k.text == text) {
            tokens_ = &k.tokens;
            break;
        }
    if (!tokens_) {
        if (kept_.size() == MaxKept)
            kept_.clear();
        Tokenized& k = kept_.emplace_back();
        k.text.assign(text);
        Tokenize(k.text, k.tokens);
        tokens_ = &k.tokens;
    }
    current_ = 0;
    depth_ = 0;
    fields_ = &fieldValue;
    Value result = ParseExpression(1);
    if (!ExprError && Current().type != Type::End)
        ExprError = true; // tokens left over
    destination = std::move(result);
    fields_ = nullptr;
    tokens_ = &EndOnly; // kept_ may grow (and move) before the next use
    return !ExprError;
}

Value Evaluator::ParseExpression(int level) {
    if (++depth_ > MaxDepth) {
        ExprError = true;
        --depth_;
        return Value();
    }
    Value value;
    try {
        value = ParseOperand();
        while (!ExprError) {
            // Tokens that name the same operator share its row; only its
            // level decides whether it applies here.
            const int op = Current().op;
            if (op < 0 || OperatorTable[op].level < level)
                break;
            Advance();
            Value right = ParseExpression(OperatorTable[op].rightLevel);
            if (ExprError)
                break;
            value = Combine(op, value, right);
        }
    } catch (const Fault&) {
        ExprError = true;
    }
    --depth_;
    return value;
}

Value Evaluator::ParseOperand() {
    const Token& token = Current();
    switch (token.type) {
    case Type::Num:
        Advance();
        return Value::Double(token.number);
    case Type::Minus: {
        Advance();
        Value x = ParseExpression(11);
        if (ExprError)
            return x;
        return MakeNumber(-Number(x, locale_), RankOf(x));
    }
    case Type::AmpH: {
        Advance();
        Value x = ParseExpression(11);
        if (ExprError)
            return x;
        if (x.IsNumeric())
            throw Fault{}; // "&h" + a number is a type fault
        std::string digits = x.ToText(locale_);
        std::uint32_t bits = 0;
        int count = 0;
        for (char c : digits) {
            char lc = Lower(c);
            int d = IsDigit(lc) ? lc - '0' : (lc >= 'a' && lc <= 'f') ? lc - 'a' + 10 : -1;
            if (d < 0)
                break;
            if (++count > 8)
                throw Fault{};
            bits = bits * 16 + static_cast<std::uint32_t>(d);
        }
        std::int32_t v;
        std::memcpy(&v, &bits, sizeof v);
        return Value::Int32(v);
    }
    case Type::Not: {
        Advance();
        Value x = ParseExpression(6);
        if (ExprError)
            return x;
        if (x.kind() == Value::Kind::Boolean)
            return Value::Boolean(!x.AsBool());
        std::int32_t n = ToInt32(Number(x, locale_));
        return RankOf(x) == Rank::Int16 ? Value::Int16(static_cast<std::int16_t>(~n))
                                        : Value::Int32(~n);
    }
    case Type::LParen: {
        Advance();
        Value v = ParseExpression(1);
        if (!ExprError && Current().type != Type::RParen)
            ExprError = true;
        Advance();
        return v;
    }
    case Type::Id: {
        const int function = token.function;
        Advance();
        if (!ExprError && Current().type != Type::LParen)
            ExprError = true;
        Advance();
        Value arg = ParseExpression(1);
        if (!ExprError && Current().type != Type::RParen)
            ExprError = true;
        Advance();
        if (ExprError)
            return Value();
        return ApplyFunction(function, arg);
    }
    default:
        ExprError = true;
        return Value();
    }
}

Value Evaluator::ApplyFunction(int function, const Value& x) {
    auto num = [&] { return Number(x, locale_); };
    auto sameType = [&](double v) { return MakeNumber(v, RankOf(x)); };
    switch (function) {
    case Abs:
        return sameType(std::fabs(num()));
    case Asc: {
        std::string t = x.ToText(locale_);
        if (t.empty())
            throw Fault{};
        return Value::Int16(static_cast<unsigned char>(t[0]));
    }
    case Atn:
        return MakeNumber(std::atan(num()), Rank::Double);
    case Cos:
        return MakeNumber(std::cos(num()), Rank::Double);
    case Exp:
        return MakeNumber(std::exp(num()), Rank::Double);
    case Fix:
        return sameType(std::trunc(num()));
    case Int:
        return sameType(std::floor(num()));
    case Hex: {
        std::int32_t n = ToInt32(num());
        char buf[16];
        if (RankOf(x) == Rank::Int16 && n >= -32768 && n <= 32767)
            std::snprintf(buf, sizeof buf, "%X",
                          static_cast<unsigned>(static_cast<std::uint16_t>(n)));
        else
            std::snprintf(buf, sizeof buf, "%X", static_cast<std::uint32_t>(n));
        return Value::Text(buf);
    }
    case LCase:
    case UCase: {
        std::string t = x.ToText(locale_);
        for (char& c : t)
            c = static_cast<char>(function == LCase ? std::tolower(static_cast<unsigned char>(c))
                                                    : std::toupper(static_cast<unsigned char>(c)));
        return Value::Text(t);
    }
    case Log: {
        double v = num();
        if (v <= 0)
            throw Fault{};
        return Value::Double(std::log(v));
    }
    case LTrim:
    case RTrim:
    case Trim: {
        std::string t = x.ToText(locale_);
        std::size_t b = function == RTrim ? 0 : t.find_first_not_of(' ');
        if (b == std::string::npos)
            return Value::Text("");
        std::size_t e = function == LTrim ? t.size() : t.find_last_not_of(' ') + 1;
        return Value::Text(t.substr(b, e - b));
    }
    case Rnd: {
        double v = num();
        if (v < 0) {
            float f = static_cast<float>(v);
            std::uint32_t bits;
            std::memcpy(&bits, &f, sizeof bits);
            rndSeed_ = (bits + (bits >> 24)) & 0xFFFFFF;
        }
        if (v != 0) {
            rndSeed_ = (rndSeed_ * 0x43FD43FDu + 0xC39EC3u) & 0xFFFFFF;
            rndLast_ = static_cast<float>(rndSeed_) / 16777216.0f;
        }
        return Value::Single(rndLast_);
    }
    case Sgn: {
        double v = num();
        return Value::Int16(static_cast<std::int16_t>(v > 0 ? 1 : v < 0 ? -1 : 0));
    }
    case Sin:
        return MakeNumber(std::sin(num()), Rank::Double);
    case Sqr: {
        double v = num();
        if (v < 0)
            throw Fault{};
        return Value::Double(std::sqrt(v));
    }
    case Tan:
        return MakeNumber(std::tan(num()), Rank::Double);
    case Val:
        return Value::Double(LeadingNumber(x.ToText(locale_), locale_.DecimalSeparator));
    case FieldFn: {
        std::int32_t n = ToInt32(num());
        if (n < 0 || n > 41 || !fields_)
            throw Fault{};
        return (*fields_)[static_cast<std::size_t>(n)];
    }
    default:
        ExprError = true; // unknown function
        return Value();
    }
}

Value Evaluator::Combine(int op, const Value& a, const Value& b) {
    if (op == Add && a.IsText() && b.IsText())
        return Value::Text(a.AsText() + b.AsText());
    switch (op) {
    case Eq:
    case Lt:
    case Gt:
    case Ne:
    case Le:
    case Ge: {
        double right = LeadingNumber(b.ToText(locale_), locale_.DecimalSeparator);
        auto leftNumber = a.ToNumber(locale_);
        // A text that holds no number sorts after every number.
        int cmp = !leftNumber ? 1 : *leftNumber < right ? -1 : *leftNumber > right ? 1 : 0;
        bool r = op == Eq   ? cmp == 0
                 : op == Lt ? cmp < 0
                 : op == Gt ? cmp > 0
                 : op == Ne ? cmp != 0
                 : op == Le ? cmp <= 0
                            : cmp >= 0;
        return Value::Boolean(r);
    }
    case And:
    case Or:
    case Xor:
    case Eqv:
    case Imp: {
        if (IsLogicalPair(a, b)) {
            bool x = a.AsBool(), y = b.AsBool();
            bool r = op == And   ? (x && y)
                     : op == Or  ? (x || y)
                     : op == Xor ? (x != y)
                     : op == Eqv ? (x == y)
                                 : (!x || y);
            return Value::Boolean(r);
        }
        std::int32_t x = ToInt32(Number(a, locale_)), y = ToInt32(Number(b, locale_));
        std::int32_t r = op == And   ? (x & y)
                         : op == Or  ? (x | y)
                         : op == Xor ? (x ^ y)
                         : op == Eqv ? ~(x ^ y)
                                     : (~x | y);
        bool narrow = RankOf(a) == Rank::Int16 && RankOf(b) == Rank::Int16;
        return narrow ? Value::Int16(static_cast<std::int16_t>(r)) : Value::Int32(r);
    }
    default:
        break;
    }
    double x = Number(a, locale_), y = Number(b, locale_);
    Rank rank = std::max(RankOf(a), RankOf(b));
    if (rank == Rank::Single && (RankOf(a) == Rank::Int32 || RankOf(b) == Rank::Int32))
        rank = Rank::Double;
    switch (op) {
    case Add:
        return MakeNumber(x + y, rank);
    case Sub:
        return MakeNumber(x - y, rank);
    case Mul:
        return MakeNumber(x * y, rank);
    case Div:
        if (y == 0)
            throw Fault{};
        return MakeNumber(x / y, Rank::Double);
    case Pow: {
        double r = std::pow(x, y);
        if (std::isnan(r))
            throw Fault{};
        return MakeNumber(r, Rank::Double);
    }
    default:
        break;
    }
    // "\\" and "mod": both operands rounded to integers first.
    std::int32_t ix = ToInt32(x), iy = ToInt32(y);
    if (iy == 0)
        throw Fault{};
    Rank intRank = std::max(RankOf(a), RankOf(b)) == Rank::Int16 ? Rank::Int16 : Rank::Int32;
    if (op == IntDiv)
        return MakeNumber(static_cast<double>(static_cast<std::int64_t>(ix) / iy), intRank);
    return MakeNumber(static_cast<double>(static_cast<std::int64_t>(ix) % iy), intRank);
}

} // namespace engine
