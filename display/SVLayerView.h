// SPDX-License-Identifier: GPL-3.0-or-later
// The view that shows the slides.
#pragma once

#include "display/SVImageDisplay.h"
#include "layers/Layer.h"
#include "platform/Clock.h"
#include "platform/LifeGuard.h"

#include <QWidget>

#include <optional>

namespace quorvane {

class SVImage;
class UserDefaults;

/// Two picture layers on black: the slide now shown and the one shown before it. A new slide always
/// goes into a fresh current layer, while the old one becomes the previous layer.
///
/// A picture comes on screen when it is decoded and scaled to the device pixels that it covers;
/// until then what was there stays. Thread: main.
class SVLayerView : public QWidget, public SVImageDisplay, private LayerDelegate {
    Q_OBJECT

public:
    /// \param defaults, clock  must outlive the view.
    SVLayerView(const UserDefaults& defaults, Clock& clock, QWidget* parent = nullptr);
    ~SVLayerView() override;

    void setDelegate(SVImageDisplayDelegate* delegate) override { mDelegate = delegate; }
    bool ImageOK() const override { return mImageOK; }
    void clearImage() override;
    void updateFitMode() override;
    void setImageWithURL(const FileURL& url, bool forward) override;
    void setImage(const std::shared_ptr<SVImage>& image, bool forward) override;
    void refresh() override;
    bool isBusy() const override { return false; } // A cut takes no time.
    bool isLoading() const override { return mLoad.has_value(); }
    void readAhead(const FileURL& url) override;
    QWidget* widget() override { return this; }

    /// Where a picture is placed by the setting "ImageFitMode", in points of the view, y up; the
    /// zero rectangle without a picture, unless it is to be stretched.
    QRectF rectForImage(const SVImage* image) const;

    /// The place of the picture of either picture layer; any other layer is a mistake of the
    /// caller.
    QRectF rectForLayer(const Layer& layer) const;

    const Layer& mBackgroundLayer() const { return mRoot; }
    const Layer& mCurrentLayer() const { return *mCurrent; }
    const Layer& mPreviousLayer() const { return *mPrevious; }
    const std::shared_ptr<SVImage>& mCurrentImage() const { return mImage; }
    const std::shared_ptr<SVImage>& mPreviousImage() const { return mImageBefore; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// A picture that was asked for.
    struct Load {
        FileURL url;
        bool forward = true;
        quint64 number = 0;
        std::unique_ptr<Timer> limit;
    };

    void displayLayer(Layer& layer) override;
    void swapImageLayers();
    void resetLayer(Layer& layer);
    void loadFinished(quint64 number, const std::shared_ptr<SVImage>& image);
    void prepareCurrentImage();
    std::function<QSize(QSize)> targetSize() const;

    const UserDefaults& mDefaults;
    Clock& mClock;
    SVImageDisplayDelegate* mDelegate = nullptr;

    Layer mRoot;
    Layer mLayers[2]; ///< The current and the previous one, in turns.
    Layer* mCurrent = &mLayers[0];
    Layer* mPrevious = &mLayers[1];
    std::shared_ptr<SVImage> mImage; ///< Shown in mCurrent.
    std::shared_ptr<SVImage> mImageBefore; ///< Shown in mPrevious.

    bool mImageOK = false;
    QSize mPreparingSize; ///< Asked for, for the picture on screen; empty for none.
    std::optional<Load> mLoad;
    quint64 mLoadCount = 0;
    LifeGuard mLifeGuard;
};

} // namespace quorvane
