#include "ProviderMedia.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Bump when the commands change in a way the digest would not see.
constexpr int formatVersion = 1;
constexpr int segmentSeconds = 2;
constexpr int framesPerSecond = 25;

// One cached item: the files written before the commands run, then ffmpeg's argument lists, run in
// order inside the item's folder.
struct Item
{
    QString kind;
    QList<std::pair<QString, QByteArray>> inputs;
    QList<QStringList> commands;

    QString digest() const
    {
        QCryptographicHash hash(QCryptographicHash::Sha1);
        hash.addData(QByteArray::number(formatVersion));
        for (const auto &[name, content] : inputs) {
            hash.addData(name.toUtf8());
            hash.addData(content);
        }
        for (const QStringList &command : commands)
            hash.addData(command.join(u'\x1f').toUtf8());
        return QString::fromLatin1(hash.result().toHex().left(16));
    }
    QString folder(const QString &root) const { return root + u'/' + kind + u'-' + digest(); }
};

QString fontOption()
{
    const QString font = u"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"_s;
    return QFileInfo::exists(font) ? u"fontfile="_s + font + u':' : QString();
}

// A line of text centred at `y` (an ffmpeg expression), read from `source` ("textfile=…" or "text='…'").
QString drawText(const QString &source, int size, const QString &y)
{
    return u"drawtext="_s + fontOption() + source + u":fontsize="_s + QString::number(size)
        + u":fontcolor=white:box=1:boxcolor=black@0.6:boxborderw=12:x=(w-tw)/2:y="_s + y;
}

// ffmpeg's arguments from a command line: words split at blanks, "%1", "%2"… replaced by `values`
// (which may hold blanks, like filter graphs).
QStringList ffmpeg(QStringView line, const QStringList &values = {})
{
    QStringList arguments = {u"-nostdin"_s, u"-v"_s, u"error"_s, u"-y"_s};
    for (const QStringView word : line.split(u' ', Qt::SkipEmptyParts)) {
        if (word.startsWith(u'%'))
            arguments.append(values.at(word.mid(1).toInt() - 1));
        else
            arguments.append(word.toString());
    }
    return arguments;
}

Item liveItem(const ProviderCatalog::LiveClip &clip)
{
    const QString tone = u"sine=frequency="_s + QString::number(clip.toneHz) + u":sample_rate=48000"_s;
    const QString seconds = QString::number(clip.seconds);
    Item item;
    item.kind = u"live"_s;
    if (clip.video) {
        item.inputs.append({u"title.txt"_s, clip.title.toUtf8()});
        const QString filters = drawText(u"textfile=title.txt"_s, 36, u"(h-th)/2-30"_s) + u','
            + drawText(u"text='%{pts\\:hms}'"_s, 24, u"(h/2)+30"_s);
        const QString picture = u"testsrc2=size=640x360:rate="_s + QString::number(framesPerSecond);
        const QString keyframes = QString::number(segmentSeconds * framesPerSecond);
        item.commands.append(ffmpeg(u"-f lavfi -i %1 -f lavfi -i %2 -t %3 -vf %4"
                                    u" -c:v libx264 -preset ultrafast -crf 28 -pix_fmt yuv420p"
                                    u" -g %5 -keyint_min %5 -sc_threshold 0"
                                    u" -c:a aac -b:a 64k -f mpegts stream.ts",
            {picture, tone, seconds, filters, keyframes}));
    } else {
        item.commands.append(
            ffmpeg(u"-f lavfi -i %1 -t %2 -c:a aac -b:a 64k -f mpegts stream.ts", {tone, seconds}));
    }
    item.commands.append(ffmpeg(u"-i stream.ts -c copy -f hls -hls_time %1 -hls_list_size 0"
                                u" -hls_segment_filename segment%03d.ts index.m3u8",
        {QString::number(segmentSeconds)}));
    return item;
}

QByteArray subtitles()
{
    const QList<QString> lines = {
        u"Benvinguts a la pel·lícula de prova."_s,
        u"La pista catalana sona a 330 Hz."_s,
        u"L’anglesa, a 550 Hz: canvieu-la al menú d’àudio."_s,
        u"Aquests subtítols són la pista «cat»."_s,
        u"Queden pocs segons; proveu d’avançar i de tornar enrere."_s,
        u"Fi."_s,
    };
    QString text;
    for (int cue = 0; cue < lines.size(); ++cue) {
        const int start = 1 + cue * 5;
        const auto time
            = [](int seconds) { return u"00:00:"_s + QString::number(seconds).rightJustified(2, u'0'); };
        text += QString::number(cue + 1) + u'\n' + time(start) + u",000 --> "_s + time(start + 3)
            + u",500\n"_s + lines[cue] + u"\n\n"_s;
    }
    return text.toUtf8();
}

Item movieItem()
{
    const QString seconds = QString::number(ProviderCatalog::movieSeconds);
    const QString filters = drawText(u"text='Pel·lícula de prova'"_s, 36, u"(h-th)/2-30"_s) + u','
        + drawText(u"text='%{pts\\:hms}'"_s, 24, u"(h/2)+30"_s);
    Item item;
    item.kind = u"movie"_s;
    item.inputs.append({u"subtitles.srt"_s, subtitles()});
    item.commands.append(ffmpeg(u"-f lavfi -i testsrc=size=640x360:rate=25"
                                u" -f lavfi -i sine=frequency=330:sample_rate=48000"
                                u" -f lavfi -i sine=frequency=550:sample_rate=48000"
                                u" -i subtitles.srt -t %1 -map 0:v -map 1:a -map 2:a -map 3:s -vf %2"
                                u" -c:v libx264 -preset ultrafast -crf 30 -pix_fmt yuv420p -g 50"
                                u" -c:a aac -b:a 64k -c:s mov_text"
                                u" -metadata:s:a:0 language=cat -metadata:s:a:0 title=Català"
                                u" -metadata:s:a:1 language=eng -metadata:s:a:1 title=English"
                                u" -metadata:s:s:0 language=cat -metadata:s:s:0 title=Català"
                                u" -movflags +faststart -f mp4 movie.mp4",
        {seconds, filters}));
    item.commands.append(ffmpeg(u"-i movie.mp4 -map 0 -c copy -c:s srt -f matroska movie.mkv"));
    return item;
}

Item imagesItem()
{
    const auto numbered = [](const QString &label) {
        return drawText(u"text='"_s + label + u" %{eif\\:n+1\\:d}'"_s, 36, u"(h-th)/2"_s);
    };
    Item item;
    item.kind = u"images"_s;
    item.commands.append(
        ffmpeg(u"-f lavfi -i testsrc2=size=300x450:rate=1 -frames:v %1 -vf %2 -q:v 4 poster-%d.jpg",
            {QString::number(ProviderCatalog::posterCount), numbered(u"Pòster"_s)}));
    item.commands.append(ffmpeg(u"-f lavfi -i testsrc=size=256x256:rate=1 -frames:v %1 -vf %2 logo-%d.png",
        {QString::number(ProviderCatalog::logoCount), numbered(u"Logo"_s)}));
    return item;
}

// Runs the item's commands in a temporary folder and renames it into place. Returns an error text,
// empty on success (or when another process finished the same item first).
QString generate(const QString &program, const QString &root, const Item &item)
{
    const QString target = item.folder(root);
    if (QFileInfo::exists(target))
        return {};
    QTemporaryDir work(root + u"/.partial-"_s + item.kind + u"-XXXXXX"_s);
    if (!work.isValid())
        return u"cannot create a folder in "_s + root + u": "_s + work.errorString();
    for (const auto &[name, content] : item.inputs) {
        QFile file(work.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            return u"cannot write "_s + file.fileName();
    }
    for (const QStringList &arguments : item.commands) {
        QProcess process;
        process.setWorkingDirectory(work.path());
        process.setStandardInputFile(QProcess::nullDevice());
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(program, arguments);
        if (!process.waitForFinished(180000) || process.exitStatus() != QProcess::NormalExit
            || process.exitCode() != 0) {
            process.kill();
            process.waitForFinished();
            return u"ffmpeg failed making the "_s + item.kind + u" media: "_s
                + QString::fromLocal8Bit(process.readAllStandardError()).trimmed().right(400);
        }
    }
    if (QDir().rename(work.path(), target))
        work.setAutoRemove(false);
    else if (!QFileInfo::exists(target))
        return u"cannot move the generated media to "_s + target;
    return {};
}

QByteArray readFile(const QString &path, QString &error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = u"cannot read "_s + path + u": "_s + file.errorString();
        return {};
    }
    return file.readAll();
}

// The clip and its segments, as listed by the HLS index ffmpeg wrote.
ProviderMedia::LiveMedia loadLive(const QString &folder, QString &error)
{
    ProviderMedia::LiveMedia media;
    media.stream = readFile(folder + u"/stream.ts"_s, error);
    const QByteArray index = readFile(folder + u"/index.m3u8"_s, error);
    if (!error.isEmpty())
        return media;
    double pending = -1;
    for (const QByteArray &rawLine : index.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith("#EXTINF:")) {
            pending = line.mid(8, line.indexOf(',') - 8).toDouble();
        } else if (!line.isEmpty() && !line.startsWith('#') && pending > 0) {
            media.segments.append(readFile(folder + u'/' + QString::fromUtf8(line), error));
            media.segmentSeconds.append(pending);
            media.seconds += pending;
            pending = -1;
        }
    }
    if (error.isEmpty()
        && (media.stream.isEmpty() || media.stream.size() % 188 != 0 || media.segments.isEmpty()))
        error = u"unexpected live media in "_s + folder;
    return media;
}

} // namespace

ProviderMedia ProviderMedia::unavailable(QString error)
{
    ProviderMedia media;
    media.m_error = std::move(error);
    return media;
}

ProviderMedia ProviderMedia::prepare(const QString &folder, const QList<ProviderCatalog::LiveClip> &clips)
{
    QList<Item> items = {movieItem(), imagesItem()};
    for (const ProviderCatalog::LiveClip &clip : clips)
        items.append(liveItem(clip));

    const bool complete = std::all_of(items.cbegin(), items.cend(),
        [&](const Item &item) { return QFileInfo::exists(item.folder(folder)); });
    if (!complete) {
        const QString program = QStandardPaths::findExecutable(u"ffmpeg"_s);
        if (program.isEmpty())
            return unavailable(u"ffmpeg is not installed: no media is served"_s);
        if (!QDir().mkpath(folder))
            return unavailable(u"cannot create the media folder "_s + folder);
        std::vector<QString> errors(std::size_t(items.size()));
        QThreadPool pool;
        pool.setMaxThreadCount(std::max(2, QThread::idealThreadCount()));
        for (qsizetype index = 0; index < items.size(); ++index) {
            pool.start(
                [&, index] { errors[std::size_t(index)] = generate(program, folder, items.at(index)); });
        }
        pool.waitForDone();
        for (const QString &error : errors) {
            if (!error.isEmpty())
                return unavailable(error);
        }
    }

    ProviderMedia media;
    QString error;
    const QString movie = items[0].folder(folder);
    media.m_mp4Path = movie + u"/movie.mp4"_s;
    media.m_mkvPath = movie + u"/movie.mkv"_s;
    media.m_mp4 = readFile(media.m_mp4Path, error);
    media.m_mkv = readFile(media.m_mkvPath, error);
    const QString images = items[1].folder(folder);
    for (int image = 1; image <= ProviderCatalog::posterCount; ++image) {
        const QString name = u"poster-"_s + QString::number(image) + u".jpg"_s;
        media.m_images.insert(name, readFile(images + u'/' + name, error));
    }
    for (int image = 1; image <= ProviderCatalog::logoCount; ++image) {
        const QString name = u"logo-"_s + QString::number(image) + u".png"_s;
        media.m_images.insert(name, readFile(images + u'/' + name, error));
    }
    for (qsizetype index = 2; index < items.size() && error.isEmpty(); ++index)
        media.m_live.append(loadLive(items[index].folder(folder), error));
    if (!error.isEmpty())
        return unavailable(error);
    return media;
}

QByteArray ProviderMedia::movie(QStringView extension) const
{
    if (extension == u"mp4")
        return m_mp4;
    if (extension == u"mkv")
        return m_mkv;
    return {};
}

QString ProviderMedia::moviePath(QStringView extension) const
{
    if (extension == u"mp4")
        return m_mp4Path;
    if (extension == u"mkv")
        return m_mkvPath;
    return {};
}
