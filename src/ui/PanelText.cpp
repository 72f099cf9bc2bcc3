#include "ui/PanelText.h"

namespace vigilmoth::PanelText {

std::string phrase(const HoldSubject& subject, std::string_view one, std::string_view many) {
    if (const auto* single = std::get_if<HoldSubject::One>(&subject.who)) {
        return single->name + " " + std::string(one);
    }
    const auto& several = std::get<HoldSubject::Many>(subject.who);
    return std::to_string(several.count) + " agents " + std::string(many);
}

std::string percent(int n) {
    return std::to_string(n) + "%";
}

}  // namespace vigilmoth::PanelText
