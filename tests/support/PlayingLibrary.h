#pragma once

// What the playback tests share: the local provider's demo account with generated media, a library
// model on a preferences file of the test's own, connected to that account for the session, and
// what the tests reach through it (a live channel of each test kind, the first movie's detail).
// The model's clock runs ahead of real time by `skipped`, so that the 35-second and 5-second rules
// are checked by moving it rather than by waiting. Header only: for the tests that link QuenvoApp
// and QuenvoProvider.

#include "../stores/StoreTestSupport.h"
#include "DemoProvider.h"
#include "MediaPlayer.h"
#include "models/CatalogModel.h"
#include "models/LibraryModel.h"
#include "records/CatalogDetail.h"
#include "records/WatchProgress.h"

#include <QSignalSpy>
#include <QTest>

#include <chrono>
#include <memory>

class PlayingLibrary
{
public:
    DemoProvider provider;
    std::unique_ptr<StoreTest::Preferences> preferences;
    std::unique_ptr<LibraryModel> model;
    std::chrono::steady_clock::duration skipped {};

    // The provider, its players on the dummy sound output; false when it cannot listen. Without
    // ffmpeg there is no media, and provider.mediaProblem() says so: the tests skip then.
    bool startProvider(const ProviderOptions &options)
    {
        MediaPlayer::setExtraOptionsForTesting({QStringLiteral("--aout=dummy")});
        return provider.start(options);
    }

    // A model as the application starts it, on the current preferences file, with `environment`'s
    // keychain service, tick and guide folder; null when it does not start up.
    LibraryModel *startModel(LibraryModel::Environment environment)
    {
        model.reset();
        environment.preferences = &preferences->settings();
        environment.clock = [this] { return std::chrono::steady_clock::now() + skipped; };
        model = std::make_unique<LibraryModel>(environment);
        if (!QSignalSpy(model.get(), &LibraryModel::startedUp).wait(10000))
            model.reset();
        return model.get();
    }

    // A fresh preferences file, a model started on it and the demo account loaded for the session.
    bool connect(const LibraryModel::Environment &environment)
    {
        finish();
        preferences = std::make_unique<StoreTest::Preferences>();
        if (!startModel(environment))
            return false;
        model->load(provider.account(), false, true);
        return QTest::qWaitFor([this] { return !model->isLoading(); }, 20000)
            && model->activeID() == provider.account().id && model->channelCount() > 0;
    }

    void finish()
    {
        model.reset();
        preferences.reset();
        skipped = {};
    }

    Channel liveChannel(ProviderCatalog::LiveKind kind) const
    {
        const std::optional<Channel> channel = provider.liveChannel(kind, model->channels());
        if (!channel)
            qFatal("the demo account lists no channel of kind %d", int(kind));
        return *channel;
    }

    // Opens the first movie's detail in the catalogue.
    bool openFirstMovie()
    {
        model->selectSection(LibraryModel::Section::movies);
        CatalogModel &catalog = *model->catalog();
        if (!QTest::qWaitFor([&] { return !catalog.items().isEmpty(); }, 10000))
            return false;
        catalog.show(catalog.items().constFirst());
        return QTest::qWaitFor([&] { return catalog.detail().has_value(); }, 10000) && catalog.detail()->movie;
    }

    // The watch-history key of the open title.
    QString openTitleKey() const
    {
        const CatalogDetail &detail = *model->catalog()->detail();
        return WatchProgress::key(provider.account().id, detail.item.kind, detail.item.id);
    }
};
