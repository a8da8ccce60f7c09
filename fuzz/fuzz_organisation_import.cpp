// The input is an organisation document, imported into a small library in a dry run and then
// for real. Beyond not crashing: a refused document leaves the library untouched, the dry run
// foretells the import exactly, and the library's own export afterwards imports back into it
// without changing anything.

#include "model/ModelContext.h"
#include "model/OrganisationDocument.h"
#include "model/SmartRuleSet.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

// Fixed uuids and identifiers, so that seed documents can refer to them.
void populate(ModelContext &c)
{
    auto *home = c.insert(new LibraryFolder(QStringLiteral("Home")));
    home->setUuid(QStringLiteral("F-HOME"));
    auto *lights = c.insert(new LibraryFolder(QStringLiteral("Lights"), home));
    lights->setUuid(QStringLiteral("F-LIGHTS"));
    c.insert(new LibraryFolder(QStringLiteral("Work")))->setUuid(QStringLiteral("F-WORK"));
    auto *tag = c.insert(new Tag(QStringLiteral("Daily"), QStringLiteral("#34C759")));
    tag->setUuid(QStringLiteral("T-DAILY"));
    auto *sub = c.insert(new Tag(QStringLiteral("Morning"), QStringLiteral("#FF9500"), tag));
    sub->setUuid(QStringLiteral("T-MORNING"));
    SmartRuleSet rules;
    rules.rules[0].field = SmartRule::Field::tag;
    rules.rules[0].referenceUUID = tag->uuid();
    c.insert(new SmartList(QStringLiteral("Daily list"), rules))
        ->setUuid(QStringLiteral("S-DAILY"));

    auto *a = c.insert(new ShortcutItem(QStringLiteral("ID-A"), QStringLiteral("Lamp on")));
    a->setFolder(lights);
    a->addTag(sub);
    a->setNotes(QStringLiteral("living room"));
    auto *b = c.insert(new ShortcutItem(QStringLiteral("ID-B"), QStringLiteral("Timer")));
    b->setIsFavorite(true);
    b->setRunCount(4);
    c.insert(new ShortcutItem(QStringLiteral("ID-C"), QStringLiteral("Timer")));
    c.insert(new ShortcutItem(QStringLiteral("name:Draft"), QStringLiteral("Draft")));
}

[[noreturn]] void broken(const char *what)
{
    fprintf(stderr, "organisation import: %s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray document =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    ModelContext context;
    populate(context);
    context.save();
    const QByteArray before = exportDocument(context);

    QString error;
    const auto dry = importDocument(context, document, ImportMode::dryRun, &error);
    if (context.hasChanges() || exportDocument(context) != before)
        broken("a dry run changed the library");
    const auto applied = importDocument(context, document, ImportMode::apply, &error);
    if (dry.has_value() != applied.has_value())
        broken("the dry run and the import disagree on the document");
    if (!applied) {
        if (context.hasChanges() || error.isEmpty())
            broken("a refused document changed the library or gave no reason");
        return 0;
    }
    ImportSummary foretold = *dry;
    foretold.dryRun = false;
    if (foretold != *applied)
        broken("the dry run foretold another import");

    context.save();
    const QByteArray after = exportDocument(context);
    const auto again = importDocument(context, after, ImportMode::apply, &error);
    if (!again)
        broken(qPrintable(QStringLiteral("the library's own export was refused: ") + error));
    if (context.hasChanges() || again->folders.added || again->tags.added ||
        again->smartLists.added || again->shortcuts.added || again->shortcuts.changed)
        broken("importing the library's own export changed it");
    return 0;
}
