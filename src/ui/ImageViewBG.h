#pragma once
// The start page: a large background picture per feature, the page number, and the size and item
// totals of the last one-click scan.

#include <QImage>
#include <QString>
#include <QWidget>

namespace tpc::ui {

class ImageViewBG : public QWidget {
    Q_OBJECT
public:
    explicit ImageViewBG(QWidget* parent = nullptr);

    void setBackground(const QImage& image, const QString& pictureName);
    QString pictureName() const { return pictureName_; }
    void setPageNumber(int number);
    int pageNumber() const { return pageNumber_; }
    void setTotals(const QString& sizeText, const QString& itemsText);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage image_;
    QString pictureName_;
    int pageNumber_ = 1;
    QString sizeText_, itemsText_;
};

} // namespace tpc::ui
