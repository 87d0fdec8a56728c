#include "engine/Expression.h"

#include <gtest/gtest.h>

using engine::Evaluator;
using engine::Locale;
using engine::Value;

namespace {

struct Outcome {
    std::string text;
    bool ok;
    Value::Kind kind;
};

Outcome Eval(const std::string& expr, std::array<Value, 42> fields = {}) {
    static Locale us;
    Evaluator e(us);
    Value v = Value::Text("untouched");
    bool ok = e.EvaluateExpression(expr, v, fields);
    return {v.ToText(us), ok, v.kind()};
}

std::array<Value, 42> Fields(std::initializer_list<std::pair<int, const char*>> values) {
    std::array<Value, 42> f{};
    for (auto [i, t] : values)
        f[static_cast<std::size_t>(i)] = Value::Text(t);
    return f;
}

} // namespace

TEST(Expression, OperatorLevelsAndAssociativity) {
    struct Case {
        const char* expr;
        const char* result;
    } cases[] = {
        {"2+3*4", "14"},
        {"-2^2", "-4"},
        {"2^3^2", "64"},
        {"7 mod 3", "1"},
        {"10\\3", "3"},
        {"10\\3*2", "1"},
        {"2*3 mod 4", "2"},
        {"7 mod 4 \\ 2", "1"},
        {"8-3-2", "3"},
        {"12/4/3", "1"},
        {"1+2=3", "True"},
        {"1 < 2 < 3", "True"},
        {"3 > 2 > 1", "False"},
        {"not 0", "-1"},
        {"not 1 = 1", "False"},
        {"-3+5", "2"},
        {"2*-3", "-6"},
        {"1 or 2 and 3", "3"},
        {"5 xor 3", "6"},
        {"0 imp 0", "-1"},
        {"5 eqv 5", "-1"},
        {"(1=1) and (2=3)", "False"},
        {"(1=1) or 1=2 imp 1=2", "False"},
        {"10 mod -3", "1"},
        {"-10 mod 3", "-1"},
        {"2.5\\1", "2"},
        {"3.5\\1", "4"},
        {"ABS(-3)", "3"},
        {"1.5.5", "1.5"},
        {"0.1+0.2", "0.3"},
        {"1/3", "0.333333333333333"},
    };
    for (const auto& c : cases) {
        Outcome o = Eval(c.expr);
        EXPECT_TRUE(o.ok) << c.expr;
        EXPECT_EQ(o.text, c.result) << c.expr;
    }
}

TEST(Expression, SyntaxErrorsStillStoreTheResult) {
    for (const char* bad : {"abs -3", "(1+2", "1 2", "5 >> 2", "=1", "", "1e3", "foo(1)", "field 1",
                            "1 +", ")", "\"a\""}) {
        Outcome o = Eval(bad);
        EXPECT_FALSE(o.ok) << bad;
        EXPECT_NE(o.text, "untouched") << bad;
    }
    EXPECT_EQ(Eval("1 2").text, "1");
    EXPECT_EQ(Eval("(1+2").text, "3");
}

TEST(Expression, FaultsAreCaughtWhereTheyHappen) {
    for (const char* bad :
         {"1/0", "1\\0", "1 mod 0", "log(0)", "log(-1)", "sqr(-4)", "asc(field(1))", "field(42)",
          "field(-1)", "&h 10", "field(2)*2", "exp(1000)", "hex(1e20)"}) {
        Outcome o = Eval(bad, Fields({{2, "abc"}}));
        EXPECT_FALSE(o.ok) << bad;
    }
    // The levels above a fault stop at their next turn: the left part survives.
    EXPECT_EQ(Eval("1/0").text, "1");
}

TEST(Expression, FieldsAreReadWithHalfEvenIndexes) {
    auto f = Fields({{0, "zero"}, {1, "12"}, {2, "30"}, {3, "three"}, {41, "overflow"}});
    EXPECT_EQ(Eval("field(0)", f).text, "zero");
    EXPECT_EQ(Eval("field(41)", f).text, "overflow");
    EXPECT_EQ(Eval("field(1.5)", f).text, "30");
    EXPECT_EQ(Eval("field(2.5)", f).text, "30");
    EXPECT_EQ(Eval("field(1)+field(2)", f).text, "1230");
    EXPECT_EQ(Eval("field(1)*1+field(2)", f).text, "42");
    EXPECT_EQ(Eval("field(1) = field(2) - 18", f).text, "True");
    EXPECT_EQ(Eval("field(2) > field(1)", Fields({{1, "5 kg"}, {2, "7"}})).text, "True");
    EXPECT_EQ(Eval("field(1)", f).kind, Value::Kind::Text);
}

TEST(Expression, HexJoiningAndFunctionsKeepTheirTypes) {
    EXPECT_EQ(Eval("&h field(2)", Fields({{2, "1F"}})).text, "31");
    EXPECT_EQ(Eval("&H field(2)", Fields({{2, "ffffffff"}})).text, "-1");
    EXPECT_EQ(Eval("&h field(2)", Fields({{2, "7G"}})).text, "7");
    struct Case {
        const char* expr;
        const char* text;
        Value::Kind kind;
    } cases[] = {
        {"abs(-2.5)", "2.5", Value::Kind::Double},
        {"asc(ucase(field(3)))", "84", Value::Kind::Int16},
        {"sgn(-7)", "-1", Value::Kind::Int16},
        {"hex(255)", "FF", Value::Kind::Text},
        {"hex(-1)", "FFFFFFFF", Value::Kind::Text},
        {"int(-2.5)", "-3", Value::Kind::Double},
        {"fix(-2.5)", "-2", Value::Kind::Double},
        {"val(field(1))", "12", Value::Kind::Double},
        {"trim(\"x\")", "", Value::Kind::Empty},
        {"lcase(field(3))", "three", Value::Kind::Text},
        {"sqr(16)", "4", Value::Kind::Double},
        {"atn(1)*4", "3.14159265358979", Value::Kind::Double},
        {"rnd(1) < 1", "True", Value::Kind::Boolean},
    };
    auto f = Fields({{1, "12abc"}, {3, "three"}});
    for (const auto& c : cases) {
        Outcome o = Eval(c.expr, f);
        if (c.kind == Value::Kind::Empty) {
            EXPECT_FALSE(o.ok) << c.expr; // no text literals in this language
            continue;
        }
        EXPECT_TRUE(o.ok) << c.expr;
        EXPECT_EQ(o.text, c.text) << c.expr;
        EXPECT_EQ(o.kind, c.kind) << c.expr;
    }
}

TEST(Expression, RndRepeatsForTheSameNegativeSeedAndForZero) {
    Locale us;
    Evaluator e(us);
    std::array<Value, 42> f{};
    Value a, b, c, d;
    e.EvaluateExpression("rnd(-3)", a, f);
    e.EvaluateExpression("rnd(0)", b, f);
    e.EvaluateExpression("rnd(1)", c, f);
    e.EvaluateExpression("rnd(-3)", d, f);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    EXPECT_EQ(a, d);
    EXPECT_EQ(a.kind(), Value::Kind::Single);
}

TEST(Expression, DeepNestingIsAnErrorNotACrash) {
    EXPECT_FALSE(Eval(std::string(100000, '(') + "1").ok);
    EXPECT_FALSE(Eval(std::string(100000, '-') + "1").ok);
    std::string fine = std::string(50, '(') + "1" + std::string(50, ')');
    EXPECT_TRUE(Eval(fine).ok);
}

TEST(Expression, DestinationMayBeTheFieldItReads) {
    Locale us;
    Evaluator e(us);
    auto f = Fields({{1, "21"}});
    e.EvaluateExpression("field(1)*2", f[1], f);
    EXPECT_EQ(f[1].ToText(us), "42");
}

// One evaluator serves every field of a record: the tokens it keeps must
// follow the text, through alternation, a text seen again after the list was
// started over, and an empty text.
TEST(Expression, KeptTokensAlwaysBelongToTheTextEvaluated) {
    Locale us;
    Evaluator e(us);
    auto f = Fields({{1, "6"}, {2, "7"}});
    Value v;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(e.EvaluateExpression("field(1)*field(2)", v, f));
        EXPECT_EQ(v.ToText(us), "42");
        ASSERT_TRUE(e.EvaluateExpression("field(2)-field(1)", v, f));
        EXPECT_EQ(v.ToText(us), "1");
        EXPECT_FALSE(e.EvaluateExpression("field(2)-", v, f));
    }
    for (int n = 0; n < 100; ++n) {
        ASSERT_TRUE(e.EvaluateExpression(std::to_string(n) + "+field(1)", v, f));
        ASSERT_EQ(v.ToText(us), std::to_string(n + 6));
    }
    ASSERT_TRUE(e.EvaluateExpression("field(1)*field(2)", v, f));
    EXPECT_EQ(v.ToText(us), "42");
    EXPECT_FALSE(e.EvaluateExpression("", v, f));
}
