// The lamp files (SetLamp_2000.ini to SetLamp_2400.ini) as an installation
// may hold them: every file holds the input after a first byte that picks
// the board choice and the form stored. Chambers 1 to 5 are one of each
// model; each reads its tables and its lamp forms load from them; one form
// (storing rewrites a whole section, so one a run keeps the fuzzing quick)
// is stored back, and its chamber's tables are read again from the files.
#include "fuzz_support.h"

#include "lamp_select.h"
#include "state.h"

#include <iterator>

using namespace qel;

namespace {
const char* const kModels[] = {"QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400"};
const char* const kFiles[] = {"SetLamp_2000.ini", "SetLamp_2100.ini", "SetLamp_2200.ini", "SetLamp_2300.ini",
                              "SetLamp_2400.ini"};
const char* const kBoards[] = {"0", "1", "", "2"};

// The forms of chambers 1 to 5: QEL2000 one, QEL2100 two, QEL2200 and QEL2300 one, QEL2400 three.
struct Form {
    int16_t chamber;
    int channel;
};
const Form kForms[] = {{1, 1}, {2, 1}, {2, 2}, {3, 1}, {4, 1}, {5, 1}, {5, 2}, {5, 3}};
}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qelfuzz::Init(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qelfuzz::BeginRun();
    qelfuzz::Input in(data, size);
    const uint8_t pick = in.byte();
    const QString board = QString::fromLatin1(kBoards[pick % 4]);
    const QByteArray bytes = in.rest();
    for (const char* file : kFiles) qelfuzz::WriteAppFile(QString::fromLatin1(file), bytes);

    MaxChamberNo = 5;
    for (int c = 1; c <= 5; ++c) {
        ChamberModel[c - 1] = QString::fromLatin1(kModels[c - 1]);
        ChamberBoard[c - 1] = board;
        ReadLampSelect(static_cast<int16_t>(c));
    }
    const size_t storedForm = (pick >> 2) % std::size(kForms);
    for (size_t f = 0; f < std::size(kForms); ++f) {
        const Form& form = kForms[f];
        LampForm kind = LampForm::Lamp2100;
        if (!LampFormOf(ChamberModel[form.chamber - 1], &kind)) qelfuzz::Fail("a known model has a lamp form");
        for (const QString& entry : LampTableOf(kind, form.chamber, form.channel))
            (void)LampLabel(entry), (void)LampFlag(entry);
        LampFormView view = LoadLampForm(kind, form.chamber, form.channel);
        (void)SelectAllLamps(kind, board);
        if (f != storedForm) continue;
        // The operator turns every other item round before storing.
        for (size_t i = 1; i < view.on.size(); i += 2) view.on[i] = !view.on[i];
        (void)StoreLampForm(kind, form.chamber, form.channel, view.on);
        ReadLampSelect(form.chamber);
        (void)LoadLampForm(kind, form.chamber, form.channel);
    }
    return 0;
}
