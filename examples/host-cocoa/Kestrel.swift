// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

// The same as UpdateCheck.mm and main.mm, in Swift. It has not been compiled: there was no Swift compiler.

import Cocoa

struct UpdateReport: Decodable {
    var errormsg: String // the two versions, or what went wrong
    var success: Bool // the server was asked and understood
    var update: Bool // the user wants the new version; its download page is open
}

/// Checks for updates in the background with `updater console`. Use it on the main thread.
final class UpdateCheck {
    private let updater: URL
    private var process: Process?

    var isRunning: Bool { process != nil }

    init(updater: URL) {
        self.updater = updater
    }

    /// Starts a check, unless one is running. `ended` is called once, on the main thread.
    func start(ended: @escaping (UpdateReport) -> Void) {
        guard process == nil else { return }
        let process = Process()
        let pipe = Pipe()
        process.executableURL = updater
        process.arguments = ["console"]
        process.standardOutput = pipe
        do {
            try process.run()
        } catch {
            ended(UpdateReport(errormsg: error.localizedDescription, success: false, update: false))
            return
        }
        self.process = process
        DispatchQueue.global().async {
            // The report has no line end: it is complete at the end of the stream.
            let output = pipe.fileHandleForReading.readDataToEndOfFile()
            // The exit code is not a success flag. The report says everything.
            let report = (try? JSONDecoder().decode(UpdateReport.self, from: output))
                ?? UpdateReport(errormsg: "The updater reported nothing.", success: false, update: false)
            DispatchQueue.main.async {
                self.process = nil
                ended(report)
            }
        }
    }
}

final class Kestrel: NSObject, NSApplicationDelegate {
    private let check = UpdateCheck(
        updater: Bundle.main.bundleURL.appendingPathComponent("Contents/MacOS/updater"))
    private var leaving = false

    func applicationDidFinishLaunching(_ notification: Notification) {
        // Without this the two would start each other forever.
        if !CommandLine.arguments.contains("no_check") {
            check.start { self.tell($0, asked: false) }
        }
    }

    @objc func checkForUpdates(_ sender: Any?) {
        check.start { self.tell($0, asked: true) }
    }

    /// An updater that is killed refuses the next session: Kestrel ends after it.
    func applicationShouldTerminate(_ application: NSApplication) -> NSApplication.TerminateReply {
        guard check.isRunning else { return .terminateNow }
        leaving = true
        return .terminateLater
    }

    private func tell(_ report: UpdateReport, asked: Bool) {
        if leaving {
            NSApp.reply(toApplicationShouldTerminate: true)
        } else if report.update {
            NSApp.terminate(nil) // the user installs the new version now
        } else if asked {
            let alert = NSAlert()
            alert.messageText = report.success
                ? "Kestrel is up to date, or the new version was put off."
                : "The check for updates failed."
            alert.informativeText = report.errormsg
            alert.runModal()
        }
    }
}

/// Whether another Kestrel runs, which then comes to the front.
func isSecond() -> Bool {
    let own = NSRunningApplication.current
    let all = NSRunningApplication.runningApplications(
        withBundleIdentifier: Bundle.main.bundleIdentifier ?? "")
    guard let other = all.first(where: { $0.processIdentifier != own.processIdentifier }) else {
        return false
    }
    other.activate(options: [.activateIgnoringOtherApps])
    return true
}

@main
enum Main {
    static let kestrel = Kestrel()

    static func main() {
        if isSecond() { return }
        NSApplication.shared.delegate = kestrel
        NSApplication.shared.run()
    }
}
