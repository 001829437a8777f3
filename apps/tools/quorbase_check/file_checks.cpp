#include "checks.h"
#include "os_file.h"

void checks::check_os_file_exist(const Examination &that) {
    const auto exist = CALL(that, os_file_exist);
    that.expect(exist(that.file("there", "text").c_str()) != 0, "does not find a file");
    that.expect(exist(that.path("").c_str()) != 0, "does not find a folder");
    that.expect(exist(that.path("missing").c_str()) == 0, "finds a file that is missing");
}

void checks::check_os_file_size(const Examination &that) {
    const auto size = CALL(that, os_file_size);
    that.expect(size(that.file("ten", "0123456789").c_str()) == 10, "gives another size than the file's");
    that.expect(size(that.path("missing").c_str()) == 0, "gives a size for a missing file");
}
