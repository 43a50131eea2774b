// (c) the ztrace developers. Licence: see LICENSE.
#include "optionvalues.h"

#include "failure.h"

namespace ztrace {

namespace {

OptionValue valueOf(OptionValue::Kind kind, const char *placeholder)
{
    OptionValue value;
    value.kind = kind;
    value.placeholder = placeholder;
    return value;
}

OptionValue numbersOf(OptionValue::Kind kind, const char *placeholder, double least, double most)
{
    OptionValue value = valueOf(kind, placeholder);
    value.least = least;
    value.most = most;
    return value;
}

} // namespace

OptionValue OptionValue::offering(std::vector<std::string> numbers) const
{
    OptionValue value = *this;
    value.examples = std::move(numbers);
    return value;
}

OptionValue flag(FlagStore store)
{
    OptionValue value = valueOf(OptionValue::Flag, "");
    value.store = [store](const std::string &option, const std::string &text, Settings *settings) {
        store(*settings, flagValue(option, text));
    };
    return value;
}

OptionValue action()
{
    return valueOf(OptionValue::Action, "");
}

OptionValue wholeNumber(const char *placeholder, int least, int most, WholeStore store)
{
    OptionValue value = numbersOf(OptionValue::Whole, placeholder, least, most);
    value.store = [=](const std::string &option, const std::string &text, Settings *settings) {
        store(*settings, wholeValue(option, text, least, most));
    };
    return value;
}

OptionValue number(const char *placeholder, double least, double most, NumberStore store)
{
    OptionValue value = numbersOf(OptionValue::Number, placeholder, least, most);
    value.store = [=](const std::string &option, const std::string &text, Settings *settings) {
        store(*settings, numberValue(option, text, least, most));
    };
    return value;
}

OptionValue wholeNumberOr(const char *placeholder, NamedNumber word, int least, int most,
                          WholeStore store)
{
    OptionValue value = numbersOf(OptionValue::Whole, placeholder, least, most);
    value.words = { word.first };
    value.store = [=](const std::string &option, const std::string &text, Settings *settings) {
        store(*settings,
              text == word.first ? word.second : wholeValue(option, text, least, most, word.first));
    };
    return value;
}

OptionValue numberOr(const char *placeholder, NamedNumber word, double least, double most,
                     NumberStore store)
{
    OptionValue value = numbersOf(OptionValue::Number, placeholder, least, most);
    value.words = { word.first };
    value.store = [=](const std::string &option, const std::string &text, Settings *settings) {
        store(*settings,
              text == word.first ? word.second
                                 : numberValue(option, text, least, most, word.first));
    };
    return value;
}

OptionValue colour(const char *placeholder, ColourStore store)
{
    OptionValue value = valueOf(OptionValue::Colour, placeholder);
    value.store = [store](const std::string &option, const std::string &text, Settings *settings) {
        store(*settings, colourValue(option, text));
    };
    return value;
}

OptionValue fileName(const char *placeholder, const char *pattern, TextStore store)
{
    OptionValue value = valueOf(OptionValue::File, placeholder);
    value.pattern = pattern;
    value.store = [store](const std::string &option, const std::string &text, Settings *settings) {
        if (text.empty())
            throw Failure(kWrongUsage, option + ": the file name is empty");
        store(*settings, text);
    };
    return value;
}

} // namespace ztrace
