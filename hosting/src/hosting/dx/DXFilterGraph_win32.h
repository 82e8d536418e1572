#pragma once

#include "hosting/dx/ComPointer_win32.h"
#include "hosting/dx/DXMediaType_win32.h"
#include "hosting/dx/DXPropertyPageSite_win32.h"
#include "hosting/dx/DXSinkFilter_win32.h"
#include "hosting/dx/DXSourceFilter_win32.h"
#include "hosting/dx/DeliveredFrames.h"
#include "svbase/util/Noncopyable.h"
#include "svbase/util/String.h"
#include "svbase/util/checked_value.h"

#include <cstdint>
#include <vector>

namespace Tarvik {

/// A private graph of three filters, ours, the plug-in and ours, through which each block is pushed by hand.
/// What a plug-in throws out of any call but Open makes that call fail. [main] where nothing else is said.
class DXFilterGraph : private noncopyable {
public:
    /// Creates nothing but the two filters of its own. Throws std::bad_alloc.
    DXFilterGraph(float rate, std::uint32_t layout);
    /// From the property page to the graph, in the order in which they need each other.
    ~DXFilterGraph();

    /// Builds the graph and runs it; once. False where a step fails, with the graph as far as it got.
    /// classIdText: 36 characters, without braces. Throws what the plug-in throws.
    bool Open(const String& classIdText);

    /// Open failed because there is no such class.
    bool IsClassNotFound() const { return classNotFound; }
    /// With braces; empty before Open.
    const String& GetClassId() const { return classId; }
    const String& GetFriendlyName() const { return friendlyName; }

    /// In place. A plug-in that answers with fewer frames than it was given has held the others back: what
    /// came stands at the end of the block, behind silence. One that answers with more, throws, or delivers
    /// from a thread of its own at that very moment leaves the block as it was. No more than 65536 bytes of
    /// audio are taken, and a longer block stays as it was. Allocates only when more comes back than that.
    /// [audio]
    void Process(std::uint32_t frames, std::uint32_t channels, float** buffers) noexcept;
    /// How many frames the last block gave back. [any]
    checked_value<std::uint32_t> GetLastDeliveredFrames() const { return lastDeliveredFrames.Get(); }
    /// Stops and runs the graph, so that the plug-in forgets what it has heard. Never while Process runs.
    void Restart() noexcept;

    bool HasState() const { return static_cast<bool>(persistStream); }
    /// Only with a state. Failure leaves state as it was.
    bool SaveState(std::vector<std::uint8_t>& state) const;
    bool LoadState(std::vector<std::uint8_t> state);

    bool HasPropertyPages() const { return !pageClasses.empty(); }
    /// The first page, made the first time that it is needed. False when it cannot be.
    bool MakePropertyPage();
    /// Invalid before the page is made.
    checked_value<std::uint32_t> GetPageWidth() const { return pageWidth; }
    checked_value<std::uint32_t> GetPageHeight() const { return pageHeight; }
    /// Makes the page if need be, and shows it in the window's upper left corner.
    bool ShowPropertyPage(HWND window, std::uint32_t width, std::uint32_t height);
    void HidePropertyPage() noexcept;

private:
    bool CreateGraph();
    bool CreateFilter(const String& classIdText);
    bool ReadFriendlyName();
    bool AddFilters();
    bool FindPins();
    bool ConnectInput();
    bool MakeSample();
    bool ConnectOutput();
    bool Run();
    void AskForState();
    void AskForPropertyPages();
    bool SetUpPropertyPage();

    float sampleRate;
    std::uint32_t channelLayout;
    DXMediaType mediaType;
    bool classNotFound = false;
    ComPointer<IFilterGraph> filterGraph;
    ComPointer<IMediaControl> mediaControl;
    ComPointer<DXSourceFilter> sourceFilter;
    ComPointer<DXSinkFilter> sinkFilter;
    ComPointer<IMemAllocator> allocator;
    ComPointer<IMediaSample> sample;
    String classId;
    String friendlyName;
    ComPointer<IBaseFilter> filter;
    ComPointer<IPin> inputPin;
    ComPointer<IPin> outputPin;
    ComPointer<IMemInputPin> memInputPin;
    DeliveredFrames lastDeliveredFrames;
    ComPointer<IPersistStream> persistStream;
    std::vector<CLSID> pageClasses;
    ComPointer<IPropertyPage> propertyPage;
    ComPointer<DXPropertyPageSite> pageSite;
    checked_value<std::uint32_t> pageWidth;
    checked_value<std::uint32_t> pageHeight;
};

} // namespace Tarvik
