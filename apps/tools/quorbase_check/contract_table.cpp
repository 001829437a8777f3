#include "contract_table.h"

#include <algorithm>
#include <iterator>

#include "checks.h"

namespace {

constexpr ContractRow kRows[] = {
#define CONTRACT_ROW(name, origin, header) {{#name, checks::check_##name}, #origin, header},
#include "platform_contract.inc"
#undef CONTRACT_ROW
};

}  // namespace

std::vector<ContractRow> contract_rows(bool of_the_modem) {
    std::vector<ContractRow> rows;
    std::copy_if(std::begin(kRows), std::end(kRows), std::back_inserter(rows),
                 [of_the_modem](const ContractRow &row) { return row.of_the_modem() == of_the_modem; });
    return rows;
}
