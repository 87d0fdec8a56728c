// `corvane eval EXPR [--field N=TEXT]... [--format FMT]`: tries a math
// expression as field processing would run it.

#include "app/Commands.h"
#include "app/Help.h"
#include "engine/Expression.h"
#include "engine/Format.h"
#include "engine/ProcessLocale.h"

#include <cstdlib>
#include <iostream>
#include <optional>

namespace app {

int CmdEval(const Args& args) {
    std::optional<std::string> expression, format;
    std::array<engine::Value, 42> fields{};
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--field" && i + 1 < args.size()) {
            const std::string& assignment = args[++i];
            std::size_t eq = assignment.find('=');
            char* end = nullptr;
            long n = eq == std::string::npos ? -1 : std::strtol(assignment.c_str(), &end, 10);
            if (eq == std::string::npos || end != assignment.c_str() + eq || n < 0 || n > 41) {
                std::cerr << "corvane eval: --field takes N=TEXT with N from 0 to 41\n";
                return 2;
            }
            fields[static_cast<std::size_t>(n)] = engine::Value::Text(assignment.substr(eq + 1));
        } else if (args[i] == "--format" && i + 1 < args.size()) {
            format = args[++i];
        } else if (!expression) {
            expression = args[i];
        } else {
            expression.reset();
            break;
        }
    }
    if (!expression) {
        return UsageError("eval");
    }
    engine::Locale locale = engine::ReadProcessLocale();
    engine::Evaluator evaluator(locale);
    engine::Value result;
    bool ok = evaluator.EvaluateExpression(*expression, result, fields);
    if (format && !format->empty())
        std::cout << engine::FormatValue(result, *format, locale) << '\n';
    else
        std::cout << result.ToText(locale) << '\n';
    return ok ? 0 : 1;
}

} // namespace app
