#pragma once

// What the window tests on the local provider share: its demo Xtream account (lists and pictures,
// no media unless asked for), a preferences file of the test's own, the library model started on it
// and the main window open on that model. Header only: for the interface tests that link Qt Quick,
// the application and QuenvoProvider.

#include "../stores/StoreTestSupport.h"
#include "DemoProvider.h"
#include "MediaPlayer.h"
#include "WindowDriver.h"

#include <QVariantHash>

#include <memory>

class DemoWindow
{
public:
    DemoProvider provider;
    std::unique_ptr<StoreTest::Preferences> preferences;
    std::unique_ptr<LibraryModel> model;
    WindowDriver ui;

    const ProviderCatalog &catalog() const { return provider.server().catalog(); }

    // The provider, its players on the dummy sound output; false when it cannot listen.
    bool startProvider(const ProviderOptions &options)
    {
        MediaPlayer::setExtraOptionsForTesting({QStringLiteral("--aout=dummy")});
        return provider.start(options);
    }

    // A fresh preferences file holding `stored`, the model started on it and the window on the model.
    bool open(const QString &keychainService, const QVariantHash &stored = {})
    {
        preferences = std::make_unique<StoreTest::Preferences>();
        for (auto value = stored.cbegin(); value != stored.cend(); ++value)
            preferences->settings().setValue(value.key(), value.value());
        return start(keychainService);
    }

    // The model and the window closed, then started again on the same preferences, as at the next run.
    bool restart(const QString &keychainService)
    {
        m_warnings += ui.finish();
        model.reset();
        preferences->restart();
        return start(keychainService);
    }

    // The demo account loaded for the session: true once its channels are listed.
    bool connectDemo()
    {
        model->load(provider.account(), false, true);
        return QTest::qWaitFor([this] { return model->channelCount() > 0 && !model->isLoading(); }, 20000)
            && model->activeID() == provider.account().id;
    }

    // Closes the window. The application's own components must have loaded and bound without a
    // warning meanwhile: the test fails with the warnings otherwise.
    void finish()
    {
        const QStringList warnings = m_warnings + ui.finish();
        m_warnings.clear();
        model.reset();
        preferences.reset();
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(u'\n')));
    }

private:
    bool start(const QString &keychainService)
    {
        model = WindowDriver::startModel(preferences->settings(), keychainService);
        return model && ui.open(model.get());
    }

    QStringList m_warnings; // of the windows closed by restart()
};
