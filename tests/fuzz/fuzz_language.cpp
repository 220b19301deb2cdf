// A language file as an installation may hold it (the first byte picks
// KOR, ENG or CHN, the rest is the file). Loading it never crashes, and the
// operator's explanation agrees with the load: none when it loads, one when
// it does not.
#include "fuzz_support.h"

#include "language.h"
#include "runtime_error.h"
#include "settings_state.h"

using namespace qel;
using qelfuzz::Expect;

namespace {
const char* const kLanguages[] = {"KOR", "ENG", "CHN"};
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    Language = QString::fromLatin1(kLanguages[in.byte() % 3]);
    qelfuzz::WriteAppFile(LanguageFileName(Language), in.rest());
    bool loaded = true;
    try {
        LoadLanguage();
    } catch (const RuntimeError&) {
        loaded = false;
    }
    const QString problem = LanguageProblem();
    Expect(loaded == problem.isEmpty(), "the explanation agrees with the load", problem);
    for (const LanguageSection& s : kLanguageSections)
        for (int key = 0; key <= s.count + 1; ++key) (void)Lang(QLatin1String(s.name), key);
    return 0;
}
