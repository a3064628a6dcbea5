#include "ui/frm_mqtt.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace quenix {
namespace {

QLineEdit* Field(QDialog* d, const char* name, const std::string& value, const QString& placeholder = {}) {
    auto* e = new QLineEdit(QString::fromStdString(value), d);
    e->setObjectName(name);
    e->setPlaceholderText(placeholder);
    e->setMinimumWidth(e->fontMetrics().horizontalAdvance(QString(36, QChar('m'))));
    return e;
}

} // namespace

bool ShowMqttForm(MqttSettings& settings, const QString& note, QWidget* parent) {
    QDialog d(parent);
    d.setObjectName("frmMqtt");
    d.setWindowTitle("MQTT");
    auto* layout = new QVBoxLayout(&d);
    if (!note.isEmpty()) {
        auto* n = new QLabel(note, &d);
        n->setObjectName("MqttNote");
        n->setWordWrap(true);
        layout->addWidget(n);
    }
    auto* enabled = new QCheckBox("&Connect to an MQTT broker", &d);
    enabled->setObjectName("MqttEnabled");
    enabled->setChecked(settings.enabled);
    layout->addWidget(enabled);

    auto* form = new QFormLayout;
    auto* url = Field(&d, "MqttUrl", settings.url, "mqtt://host:1883 or mqtts://host:8883");
    auto* user = Field(&d, "MqttUser", settings.user);
    auto* password = Field(&d, "MqttPassword", "", settings.password.empty() ? "" : "(unchanged)");
    password->setEchoMode(QLineEdit::Password);
    auto* forget = new QCheckBox("&Forget the stored password", &d);
    forget->setObjectName("MqttForgetPassword");
    forget->setVisible(!settings.password.empty());
    auto* topic = Field(&d, "MqttTopic", settings.baseTopic, "quenix/<host name>");
    auto* discovery = Field(&d, "MqttDiscovery", settings.discoveryPrefix, "none");
    form->addRow("&Broker:", url);
    form->addRow("&User:", user);
    form->addRow("&Password:", password);
    form->addRow("", forget);
    form->addRow("Base &topic:", topic);
    form->addRow("Home Assistant &discovery prefix:", discovery);
    layout->addLayout(form);
    auto* problem = new QLabel(&d);
    problem->setObjectName("MqttProblem");
    problem->setWordWrap(true);
    layout->addWidget(problem);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &d);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &d, &QDialog::reject);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &d, [&] {
        std::string error;
        const std::string t = topic->text().trimmed().toStdString();
        if (enabled->isChecked() && !ParseBrokerUrl(url->text().trimmed().toStdString(), error)) {
            problem->setText(QString::fromStdString(error));
        } else if (!t.empty() && !(error = BaseTopicProblem(t)).empty()) {
            problem->setText(QString::fromStdString(error));
        } else {
            d.accept();
        }
    });
    if (d.exec() != QDialog::Accepted) return false;
    MqttSettings s = settings;
    s.enabled = enabled->isChecked();
    s.url = url->text().trimmed().toStdString();
    s.user = user->text().toStdString();
    if (!password->text().isEmpty()) s.password = password->text().toStdString();
    if (forget->isChecked()) s.password.clear();
    s.baseTopic = topic->text().trimmed().toStdString();
    s.discoveryPrefix = discovery->text().trimmed().toStdString();
    settings = s;
    return true;
}

} // namespace quenix
