#include "host/ViewCommand.h"

#include "core/graphics/InvPlaneDragger.h"
#include "core/network/VoNetwork.h"
#include "host/CommandLine.h"
#include "host/HostError.h"
#include "host/HostUiProxy.h"
#include "host/OutputFiles.h"
#include "host/RenderCommand.h"
#include "host/ScenePass.h"
#include "render/CameraFraming.h"

#include <Inventor/Qt/SoQt.h>
#include <Inventor/Qt/viewers/SoQtExaminerViewer.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/draggers/SoTranslate1Dragger.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>
#include <Inventor/nodes/SoSeparator.h>

#include <QApplication>
#include <QGLWidget>
#include <QMainWindow>
#include <QStatusBar>
#include <QTimer>

#include <X11/Xlib.h>

#include <GL/gl.h>

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <exception>
#include <memory>
#include <ostream>
#include <thread>

namespace host {

namespace {

core::VoNetwork& Network()
{
    return core::VoNetwork::Instance();
}

// Runs `work` on the GUI thread, whichever thread asks.
template <class F>
void OnGuiThread(F work)
{
    QMetaObject::invokeMethod(qApp, work, Qt::QueuedConnection);
}

// The host's proxy, with status and progress also shown on the status line.
class ViewerUiProxy : public HostUiProxy {
public:
    ViewerUiProxy(std::ostream& err, QStatusBar* status) : HostUiProxy(err, false), m_Status(status) {}

    void StatusMsg(const char* format, ...) override __attribute__((format(printf, 2, 3)))
    {
        char text[512];
        va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
        Show(text);
    }

    void ErrorMsg(const shr::Exception& error) override
    {
        HostUiProxy::ErrorMsg(error);
        Show("error: " + error.Message());
    }

    void ProgressText(const char* text) override
    {
        m_Text = text ? text : "";
        Show(m_Text);
    }

    void Progress(double fraction) override
    {
        const int percent = int(fraction * 100.0);
        if (percent == m_Percent.exchange(percent))
            return;
        Show(m_Text + " " + std::to_string(percent) + "%");
    }

    void Show(const std::string& text)
    {
        QStatusBar* status = m_Status;
        const QString line = QString::fromStdString(text);
        OnGuiThread([status, line] { status->showMessage(line); });
    }

private:
    QStatusBar* m_Status;
    std::string m_Text;
    std::atomic<int> m_Percent{-1};
};

// The examiner viewer that stays still while a pass writes the scene.
class SceneViewer : public SoQtExaminerViewer, public ViewSession {
public:
    SceneViewer(QWidget* parent, const SceneView& view, ViewerUiProxy& proxy)
        : SoQtExaminerViewer(parent), m_View(view), m_Proxy(proxy), m_Top(new SoSeparator),
          m_Camera(new SoPerspectiveCamera), m_Content(new SoSeparator)
    {
        m_Top->ref();
        m_Top->addChild(m_Camera);
        m_Top->addChild(m_Content);
        setTransparencyType(SoGLRenderAction::SORTED_OBJECT_BLEND);
        const shr::Color4b& c = view.hasBackground ? view.background : Network().GetBackgroundColor();
        setBackgroundColor(SbColor(c.r / 255.0f, c.g / 255.0f, c.b / 255.0f));
        ShowScene();
        setSceneGraph(m_Top);
        Frame();
        m_Idle.setInterval(50);
        QObject::connect(&m_Idle, &QTimer::timeout, [this] { Idle(); });
        m_Idle.start();
    }

    ~SceneViewer() override
    {
        m_Idle.stop();
        FinishPass();
        setSceneGraph(nullptr);
        m_Top->unref();
    }

    int PassCount() const override { return m_Passes; }
    SbVec2s DrawingSize() const { return getGLSize(); }

    bool DragPlane(double distance) override
    {
        SoSearchAction search;
        search.setType(core::InvPlaneDragger::getClassTypeId());
        search.setInterest(SoSearchAction::FIRST);
        search.apply(m_Content);
        if (!search.getPath())
            return false;
        auto* dragger = static_cast<core::InvPlaneDragger*>(search.getPath()->getTail());
        SoTranslate1Dragger* translator = dragger->Translator();
        if (!translator)
            return false;
        dragger->DragStarted(translator);
        translator->translation = SbVec3f(float(dragger->Offset() + distance), 0.0f, 0.0f);
        dragger->DragValueChanged(translator);
        dragger->DragFinished(translator);
        return true;
    }

    render::Image Grab() override
    {
        auto* widget = static_cast<QGLWidget*>(getGLWidget());
        widget->makeCurrent();
        glDrawBuffer(GL_BACK);
        actualRedraw();
        glFinish();
        const SbVec2s size = getGLSize();
        const int width = size[0];
        const int height = size[1];
        std::vector<uint8_t> bottomUp(size_t(width) * size_t(height) * 4);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadBuffer(GL_BACK);
        glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
        std::vector<uint8_t> topDown(bottomUp.size());
        const size_t row = size_t(width) * 4;
        for (int y = 0; y < height; ++y)
            std::copy_n(&bottomUp[size_t(height - 1 - y) * row], row, &topDown[size_t(y) * row]);
        for (size_t p = 3; p < topDown.size(); p += 4)
            topDown[p] = 255;
        return render::Image(width, height, std::move(topDown));
    }

    void WaitForPass() override
    {
        while (m_Waiting || (Network().IsModified() && !m_Busy) || m_Busy)
            QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
    }

protected:
    // Nothing is drawn while a pass writes the scene.
    void actualRedraw() override
    {
        if (!m_Busy)
            SoQtExaminerViewer::actualRedraw();
    }

    SbBool processSoEvent(const SoEvent* event) override
    {
        return m_Busy ? TRUE : SoQtExaminerViewer::processSoEvent(event);
    }

private:
    void ShowScene()
    {
        core::InvSmartPtr<SoSeparator> root = Network().SceneRoot();
        m_Content->removeAllChildren();
        if (root)
            m_Content->addChild(root.get());
    }

    // The view the scene file gives, as `render` frames it.
    void Frame()
    {
        const SbViewportRegion viewport(short(m_View.width), short(m_View.height));
        SoGetBoundingBoxAction bounds(viewport);
        bounds.apply(m_Content);
        render::CameraFraming(m_View.azimuth, m_View.elevation, m_View.zoom)
            .Apply(*m_Camera, bounds.getBoundingBox(), float(m_View.width) / float(m_View.height));
    }

    // Starts a pass when a module is modified; the scene leaves the viewer's
    // graph until the pass has ended.
    void Idle()
    {
        if (m_Busy || !Network().IsModified() || Network().UpdateThreadBusy())
            return;
        m_Busy = true;
        m_Waiting = true;
        m_Content->removeAllChildren();
        m_Proxy.Show("updating");
        Network().Update();
        m_Watcher = std::thread([this] {
            Network().WaitUntilDone(1000);
            OnGuiThread([this] { PassEnded(); });
        });
    }

    void PassEnded()
    {
        FinishPass();
        m_Busy = false;
        ShowScene();
        ++m_Passes;
        m_Waiting = false;
        m_Proxy.Show("ready");
        scheduleRedraw();
    }

    void FinishPass()
    {
        if (m_Watcher.joinable())
            m_Watcher.join();
    }

    const SceneView m_View;
    ViewerUiProxy& m_Proxy;
    SoSeparator* m_Top;
    SoPerspectiveCamera* m_Camera;
    SoSeparator* m_Content;
    QTimer m_Idle;
    std::thread m_Watcher;
    bool m_Busy = false;
    bool m_Waiting = false;
    int m_Passes = 0;
};

// The application, made once per process: SoQt takes no second start.
QMainWindow* MainWindow()
{
    static int argc = 1;
    static char name[] = "fenrak";
    static char* argv[] = {name, nullptr};
    static QApplication* application = nullptr;
    if (!application) {
        application = new QApplication(argc, argv);
        application->setQuitOnLastWindowClosed(false);
    }
    auto* window = new QMainWindow;
    static bool started = false;
    if (!started) {
        SoQt::init(window);
        started = true;
    }
    return window;
}

// The drawing area opens at the scene's size, the window growing by what
// the viewer's decorations and the status line take; the user may resize it then.
void OpenAtSize(QMainWindow& window, SceneViewer& viewer, const SceneView& view)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        QApplication::processEvents();
        const SbVec2s size = viewer.DrawingSize();
        if (size[0] == view.width && size[1] == view.height)
            return;
        window.resize(window.width() + view.width - size[0], window.height() + view.height - size[1]);
    }
    QApplication::processEvents();
}

void Show(const ViewOptions& options, std::ostream& err, const std::function<void(ViewSession&)>& script)
{
    if (!ViewCommand::DisplayAvailable())
        HOST_SYSTEM_ERROR("view: no X display answers (DISPLAY=\"%s\"); run under xvfb-run for a hidden one",
                          std::getenv("DISPLAY") ? std::getenv("DISPLAY") : "");
    OutputFiles outputs;
    if (!options.screenshot.empty())
        outputs.Add(options.screenshot, "screenshot");
    outputs.Check();
    std::unique_ptr<QMainWindow> window(MainWindow());
    auto* status = new QStatusBar;
    window->setStatusBar(status);
    ViewerUiProxy proxy(err, status);
    ScenePass pass;
    const std::string path = ScenePass::SceneOrDemo(options.scene);
    const SceneView view = pass.LoadAndRun(path, err).view;
    ScenePass::CheckExecution(path, proxy);
    window->setWindowTitle(QString::fromStdString("fenrak - " + path));
    std::unique_ptr<SceneViewer> viewer(new SceneViewer(window.get(), view, proxy));
    window->setCentralWidget(viewer->getWidget());
    window->show();
    OpenAtSize(*window, *viewer, view);
    proxy.Show("ready");
    bool quitting = false;
    // An exception may not cross Qt's event loop: it is kept and raised after.
    std::exception_ptr failure;
    const auto finish = [&] {
        if (quitting)
            return;
        quitting = true;
        try {
            viewer->WaitForPass();
            QApplication::processEvents();
            if (!options.screenshot.empty()) {
                const render::Image image = viewer->Grab();
                outputs.Write(options.screenshot, [&](const std::string& file) { image.WritePng(file); });
                outputs.Commit();
            }
        } catch (...) {
            failure = std::current_exception();
        }
        qApp->quit();
    };
    if (script)
        QTimer::singleShot(0, [&] {
            viewer->WaitForPass();
            script(*viewer);
            finish();
        });
    else if (options.quitAfter >= 0.0)
        QTimer::singleShot(int(options.quitAfter * 1000.0), finish);
    QObject::connect(qApp, &QApplication::lastWindowClosed, [&] { qApp->quit(); });
    qApp->exec();
    viewer.reset();
    window.reset();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace

ViewOptions ViewCommand::ParseArguments(const std::vector<std::string>& args)
{
    ViewOptions options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--screenshot")
            options.screenshot = CommandLine::TakeValue("view", args, i);
        else if (arg == "--quit-after") {
            const std::string& text = CommandLine::TakeValue("view", args, i);
            char* end = nullptr;
            options.quitAfter = std::strtod(text.c_str(), &end);
            if (text.empty() || *end || !(options.quitAfter >= 0.0) || options.quitAfter > 86400.0)
                HOST_USER_ERROR("view: --quit-after takes seconds from 0 to 86400, not \"%s\"", text.c_str());
        } else
            CommandLine::TakeInput("view", arg, options.scene);
    }
    if (!options.screenshot.empty() && options.quitAfter < 0.0)
        HOST_USER_ERROR("view: --screenshot needs --quit-after SECONDS");
    return options;
}

bool ViewCommand::DisplayAvailable()
{
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return false;
    XCloseDisplay(display);
    return true;
}

int ViewCommand::Run(const ViewOptions& options, std::ostream& err, const std::function<void(ViewSession&)>& script)
{
    try {
        Show(options, err, script);
        return 0;
    } catch (const shr::Exception& error) {
        return RenderCommand::ReportFailure(error, err);
    }
}

int ViewCommand::Run(const std::vector<std::string>& args, std::ostream& err)
{
    try {
        return Run(ParseArguments(args), err);
    } catch (const shr::Exception& error) {
        return RenderCommand::ReportFailure(error, err);
    }
}

} // namespace host
